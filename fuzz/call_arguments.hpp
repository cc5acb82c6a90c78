// Arguments that a function mostly takes: of the kinds that the reference gives, by the
// names that it gives them.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "fuzz/choices.hpp"
#include "fuzz/gateway_calls.hpp"
#include "fuzz/pools.hpp"
#include "python/reference_table.hpp"

namespace fuzz {

using zembra::python::Form;

class CallArguments {
 public:
  /// `makeFunction` makes functions for HDF5 to call.
  CallArguments(const Form& form, const Pools& pools, Choices& choices,
                const std::function<Value()>& makeFunction);

  Values make();

 private:
  Value proper(std::size_t index);
  Value anything();
  Value identifier(std::string_view name);
  Value list(std::string_view name);
  Value whole(std::string_view name);
  Value text(std::string_view name);
  Value record();
  Value row();
  Value matrix();
  Value array();
  Value rawBytes();
  Value reference();
  double smallNumber();
  double number();
  bool isRow(std::string_view name) const;
  [[nodiscard]] Value keptInFolder(const Value& value) const;

  const Form& form_;
  std::string function_;
  const Pools& pools_;
  Choices& choices_;
  const std::function<Value()>& makeFunction_;
};

}  // namespace fuzz
