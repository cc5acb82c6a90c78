// What a handler is, the row that names it, and how it takes inputs and gives outputs.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "convert/failure.hpp"
#include "host/array.hpp"

namespace h5gate {

/// Inputs count from 0; the function's name is not among them. Results are stored in
/// outs[0], outs[1], ... whatever nOut says, unless a function's rules make them depend
/// on it: the host offers enough slots.
using GatewayHandler = void (*)(int nOut, zbArray** outs, int nIn, const zbArray** ins);

struct Row {
  std::string_view name;
  GatewayHandler handler;
};

inline void requireArgCount(bool accepted) {
  if (!accepted) raise<Zembra::fmtio::validate::wrongNumberOfInputs>();
}

using Inputs = std::span<const zbArray* const>;

/// The results of a call, given in their order.
class Results {
 public:
  Results(int asked, zbArray** slots) : asked_(asked), slots_(slots) {}

  void give(zbArray* result) { slots_[count_++] = result; }
  /// The first always, the others as far as they are asked for.
  void giveIfAsked(zbArray* result) {
    if (count_ == 0 || count_ < asked_) give(result);
  }
  [[nodiscard]] int asked() const { return asked_; }

 private:
  int asked_;
  zbArray** slots_;
  int count_ = 0;
};

/// A handler with rules of its own. It looks at the number of its inputs by taking them.
using Rules = void (*)(Inputs ins, Results& outs);

template <Rules Handler>
void own(int nOut, zbArray** outs, int nIn, const zbArray** ins) {
  Results results(nOut, outs);
  Handler(Inputs(ins, static_cast<std::size_t>(nIn)), results);
}

}  // namespace h5gate
