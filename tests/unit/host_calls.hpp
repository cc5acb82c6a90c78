// Calls both ways as the host makes them: into an extension, and of a host function.
#pragma once

#include <array>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/call.hpp"
#include "runtime/call_scope.hpp"
#include "tests/unit/host_functions.hpp"

namespace h5test {

/// Calls the extension with these inputs.
inline Results extend(zbExtensionFunction* extension, const std::vector<Value>& inputs = {},
                      int outputs = 1) {
  std::vector<const zbArray*> ins;
  for (const Value& input : inputs) ins.push_back(input.get());
  return zembra::callExtension(extension, outputs, ins);
}

/// f(outputs, inputs) through "feval", with what the slots held before.
struct Feval {
  zembra::CallScope scope;
  std::array<zbArray*, 3> outs{};
  int failed = 0;

  Feval(int outputs, const Value& callee, std::vector<Value> inputs = {}) {
    primed(outputs, callee, std::move(inputs));
  }
  Feval() = default;
  void primed(int outputs, const Value& callee, std::vector<Value> inputs = {}) {
    std::vector<zbArray*> ins = {callee.get()};
    for (const Value& input : inputs) ins.push_back(input.get());
    failed = zebCallZembra(outputs, outs.data(), static_cast<int>(ins.size()), ins.data(), "feval");
  }
};

/// A host function that gives these results, and one that throws with these words.
inline Value give(Results results) {
  return function([results](int, std::span<zbArray* const>) { return results; });
}
inline Value fail(std::string words) {
  return function(
      [words](int, std::span<zbArray* const>) -> Results { throw std::runtime_error(words); });
}

}  // namespace h5test
