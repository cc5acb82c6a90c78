#include "runtime/call.hpp"

#include <algorithm>
#include <array>
#include <string_view>

#include "runtime/host_error.hpp"
#include "runtime/pending_cause.hpp"

namespace zembra {
namespace {

/// One line, without NULs: "basic" report of what a host function threw.
std::string report(const std::exception_ptr& exception) {
  std::string text;
  try {
    std::rethrow_exception(exception);
  } catch (const std::exception& error) {
    text = error.what();
  } catch (...) {
    text = "A host function failed with an exception that says nothing about itself.";
  }
  std::replace(text.begin(), text.end(), '\0', ' ');
  return text;
}

/// Results go to the running call. A slot that gets none keeps what its owner put
/// there, or else holds an empty array.
void fillSlots(int nOut, zbArray** outs, std::vector<Value> results) {
  results.resize(static_cast<std::size_t>(std::max(nOut, 0)));
  for (std::size_t i = 0; i < results.size(); ++i) {
    if (!results[i] && outs[i] != nullptr) continue;
    const Value value = results[i] ? results[i] : makeEmpty();
    zbDestroyArray(outs[i]);
    outs[i] = value.get();
    // User data that comes back may be on the call's list already; once is enough.
    if (outs[i]->scope == nullptr) enroll(Value(value).release());
  }
}

std::vector<Value> feval(int nOut, std::span<zbArray* const> ins) {
  const zbArray* callee = ins.empty() ? nullptr : ins[0];
  if (callee == nullptr || callee->type != zbClass::Function) {
    raiseHostError("notFunction", "The callback is " +
                                      (callee == nullptr ? "missing" : describe(callee)) +
                                      "; a function handle is needed.");
  }
  return callee->composite->target->call(nOut, ins.subspan(1));
}

/// What went wrong, or null.
std::exception_ptr run(int nOut, zbArray** outs, int nIn, zbArray** ins,
                       std::string_view function) noexcept {
  try {
    const std::span<zbArray* const> inputs(ins, static_cast<std::size_t>(std::max(nIn, 0)));
    if (function == "feval") {
      fillSlots(nOut, outs, feval(nOut, inputs));
      setPendingCause(nullptr);
      return nullptr;
    }
    if (function == "getReport" && !inputs.empty() && inputs[0]->composite &&
        inputs[0]->composite->exception) {
      fillSlots(nOut, outs, {makeText(report(inputs[0]->composite->exception))});
      return nullptr;
    }
    raiseHostError("noSuchFunction",
                   "The host has no function " + std::string(function) + " for this.");
  } catch (...) {
    return std::current_exception();
  }
}

std::exception_ptr runAndRemember(int nOut, zbArray** outs, int nIn, zbArray** ins,
                                  std::string_view function) noexcept {
  std::exception_ptr failure = run(nOut, outs, nIn, ins, function);
  if (failure && function == "feval") setPendingCause(failure);
  return failure;
}

}  // namespace

std::vector<Value> callExtension(zbExtensionFunction* function, int nOut,
                                 std::span<const zbArray* const> ins) {
  const CallScope scope;
  std::vector<zbArray*> outs(static_cast<std::size_t>(std::max(nOut, kResultSlots)));
  std::vector<const zbArray*> inputs(ins.begin(), ins.end());
  function(nOut, outs.data(), static_cast<int>(inputs.size()), inputs.data());
  std::vector<Value> results;
  for (zbArray* out : outs) {
    if (out == nullptr) break;
    results.push_back(CallScope::take(out));
  }
  return results;
}

}  // namespace zembra

int zebCallZembra(int nOut, zbArray** outs, int nIn, zbArray** ins, const char* function) {
  return zembra::runAndRemember(nOut, outs, nIn, ins, function) ? 1 : 0;
}

zbArray* zebCallZembraWithTrap(int nOut, zbArray** outs, int nIn, zbArray** ins,
                               const char* function) {
  std::exception_ptr failure = zembra::runAndRemember(nOut, outs, nIn, ins, function);
  if (!failure) return nullptr;
  zembra::Value exception = zembra::makeObject("zembra.Exception", {});
  exception.get()->composite->exception = std::move(failure);
  zembra::enroll(exception.get());
  return exception.release();
}
