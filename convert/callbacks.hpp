// Calls from HDF5 back into host functions.
//
// An adapter has the signature of one HDF5 callback type: it turns the C arguments
// into host arrays, calls the host function through "feval" and turns its answer
// into HDF5's status: 0 continues, positive stops, negative fails. It runs inside
// an HDF5 frame, which an exception must never cross: what it would raise is parked
// in the wrapper's CallbackContext and raised again once HDF5 has returned. Calls
// nest; nothing is kept outside the contexts.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "convert/failure.hpp"
#include "convert/identifiers.hpp"
#include "convert/number_cast.hpp"
#include "convert/number_results.hpp"
#include "convert/text.hpp"
#include "hdf5/closing.hpp"
#include "hdf5/error_stack.hpp"
#include "hdf5/library_shields.hpp"
#include "host/call.hpp"

namespace h5gate {

inline constexpr char kNoCallbackRan[] = "Failed before callback function could be called";

inline constexpr char kTooDeep[] = "Callbacks are nested too deeply: the stack is nearly used up";

/// One iteration: lives on its wrapper's stack, reaches the adapter as op_data.
class CallbackContext {
 public:
  /// The host function and the user data are taken as they are, whatever they are.
  explicit CallbackContext(const zbArray* hostFunction, const zbArray* data = nullptr,
                           std::string initialReport = kNoCallbackRan)
      : function(const_cast<zbArray*>(hostFunction)),
        userData(const_cast<zbArray*>(data)),
        report(std::move(initialReport)) {}

  zbArray* function;
  zbArray* userData;         // what the last successful callback returned
  bool hasReturned = false;  // one has: the user data are no longer the caller's
  std::string report;        // of the callback that failed
  std::int64_t calls = 0;    // successful ones
  std::exception_ptr parked;

  /// To be called once HDF5 has returned: raises what an adapter could not.
  void raiseParked() const {
    if (parked) std::rethrow_exception(parked);
  }
};

// --- How a C argument becomes a host array -----------------------------------------

struct IdInput {
  using Argument = hid_t;
  static zbArray* make(hid_t id) { return makeHidResult(id); }
};
struct NameInput {
  using Argument = const char*;
  static zbArray* make(const char* name) { return zbCreateString(name); }
};
template <class Number>
struct NumberInput {
  using Argument = Number;
  static zbArray* make(Number number) { return makeNumber(number); }
};
template <class Record, zbArray* (*Make)(const Record&)>
struct RecordInput {
  using Argument = const Record*;
  static zbArray* make(const Record* record) { return Make(*record); }
};
/// A record that host functions do not see: they can ask for it.
template <class Record>
struct NotPassed {
  using Argument = const Record*;
};

/// What the host function gets to see.
template <class Input>
concept Passed = requires(typename Input::Argument argument) {
  Input::make(argument);
};

/// The host function's inputs in order; those made for the call are destroyed with it,
/// but for one that has come back as user data.
template <class... Inputs>
class HostInputs {
 public:
  HostInputs(const CallbackContext& context, typename Inputs::Argument... arguments)
      : context_(context) {
    append(context.function);
    (appendMade<Inputs>(arguments), ...);
  }
  ~HostInputs() {
    for (zbArray* array : made()) {
      if (array != context_.userData) zbDestroyArray(array);
    }
  }
  HostInputs(const HostInputs&) = delete;
  HostInputs& operator=(const HostInputs&) = delete;

  void append(zbArray* array) { arrays_[count_++] = array; }
  [[nodiscard]] int count() const { return static_cast<int>(count_); }
  [[nodiscard]] zbArray** arrays() { return arrays_.data(); }
  [[nodiscard]] std::span<zbArray* const> made() const {
    return std::span(arrays_).subspan(1, kMade);
  }

 private:
  static constexpr std::size_t kMade = (std::size_t{0} + ... + std::size_t{Passed<Inputs>});

  template <class Input>
  void appendMade([[maybe_unused]] typename Input::Argument argument) {
    if constexpr (std::is_same_v<Input, IdInput>) used_.emplace(argument);
    if constexpr (Passed<Input>) append(Input::make(argument));
  }

  const CallbackContext& context_;
  std::optional<hdf5::InUse> used_;
  std::array<zbArray*, kMade + 2> arrays_{};  // the function, those made, the user data
  std::size_t count_ = 0;
};

// --- Adapters ---------------------------------------------------------------------------

/// The status that a host function answered: toward zero; what is no number fails.
inline herr_t statusOf(const zbArray* answer) { return truncateToInt32(zbGetScalar(answer)); }

/// Nothing that `body` throws gets into HDF5.
template <class Body>
herr_t insideLibrary(CallbackContext& context, Body body) noexcept {
  const hdf5::InsideCallback inside;
  if (hdf5::isStackShort()) {
    context.report = kTooDeep;
    return hdf5::refuse("feval", kTooDeep);
  }
  try {
    return body();
  } catch (...) {
    context.parked = std::current_exception();
    return -1;
  }
}

/// status = f(inputs...); a host function that fails raises `Message`.
template <class Message, class... Inputs>
herr_t plainAdapter(typename Inputs::Argument... arguments, void* data) {
  auto& context = *static_cast<CallbackContext*>(data);
  return insideLibrary(context, [&] {
    HostInputs<Inputs...> inputs(context, arguments...);
    // Continues when the function answers nothing at all.
    zbArray* status = zbCreateDoubleScalar(0);
    if (zebCallZembra(1, &status, inputs.count(), inputs.arrays(), "feval") != 0) {
      raise<Message>();
    }
    ++context.calls;
    const herr_t value = statusOf(status);
    // One of the inputs may be the answer.
    if (std::ranges::count(inputs.made(), status) == 0) zbDestroyArray(status);
    return value;
  });
}

/// Goes on with what a host function answered, [status, userData], and destroys what nobody
/// needs any more: an iteration is as long as it is, and must not grow with it. One array may
/// be both answers, or an input, or the user data of before.
inline herr_t goOn(CallbackContext& context, std::span<zbArray* const> inputs, zbArray* status,
                   zbArray* userData) {
  const herr_t value = statusOf(status);
  zbArray* const before = std::exchange(context.hasReturned, true) ? context.userData : nullptr;
  context.userData = userData;
  ++context.calls;
  if (before != userData) zbDestroyArray(before);
  const bool needed =
      status == userData || status == before || std::ranges::count(inputs, status) != 0;
  if (!needed) zbDestroyArray(status);
  return value;
}

/// What a trapped adapter does with the report of a host function that failed.
using ReportFailure = void (*)(CallbackContext& context, std::string report);

inline void keepReport(CallbackContext& context, std::string report) {
  context.report = std::move(report);
}

/// The host's one-line report of an exception; false when even that fails.
bool getReport(zbArray* exception, std::string& report);

/// [status, userData] = f(inputs..., userData); a host function that fails is
/// reported and fails the iteration.
template <ReportFailure Report, class... Inputs>
herr_t trappedAdapter(typename Inputs::Argument... arguments, void* data) {
  auto& context = *static_cast<CallbackContext*>(data);
  return insideLibrary(context, [&] {
    HostInputs<Inputs...> inputs(context, arguments...);
    inputs.append(context.userData);
    std::array<zbArray*, 2> answers{};
    zbArray* exception =
        zebCallZembraWithTrap(2, answers.data(), inputs.count(), inputs.arrays(), "feval");
    if (exception == nullptr) return goOn(context, inputs.made(), answers[0], answers[1]);
    std::string report;
    if (getReport(exception, report)) Report(context, std::move(report));
    return -1;
  });
}

}  // namespace h5gate
