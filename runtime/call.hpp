// Calling an extension, and being called back by it.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "host/call.hpp"
#include "runtime/array.hpp"
#include "runtime/call_scope.hpp"

namespace zembra {

/// The target of a function handle. Whatever it throws becomes the failure of the
/// host call; an std::exception's what() is its report.
class Callable {
 public:
  virtual ~Callable() = default;
  /// `outputs` results are asked for; giving fewer leaves empty arrays, more are dropped.
  virtual std::vector<Value> call(int outputs, std::span<zbArray* const> inputs) = 0;
};

/// How many result slots a call offers at least; handlers store results that
/// nobody asked for.
inline constexpr int kResultSlots = 8;

/// Calls the extension in a scope of its own. The results that it stored, up to
/// the first gap.
std::vector<Value> callExtension(zbExtensionFunction* function, int nOut,
                                 std::span<const zbArray* const> ins);

}  // namespace zembra
