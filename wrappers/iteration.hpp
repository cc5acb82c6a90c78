// Functions that call a host function for each member of something: what they take
// besides the usual, in C's order, and what they give.
#pragma once

#include <string>
#include <tuple>
#include <utility>

#include "convert/callbacks.hpp"
#include "wrappers/gives.hpp"
#include "wrappers/takes.hpp"

namespace h5gate {

/// A position that HDF5 begins at and leaves where it stopped.
template <class Value>
struct Position {
  Value value;
  [[nodiscard]] auto arguments() { return std::tuple(&value); }
  [[nodiscard]] zbArray* left() const { return makeNumber(value); }
};
template <class Kind, class Value = decltype(Kind::from(nullptr))>
struct InOut {
  static Position<Value> from(const zbArray* array) {
    return {static_cast<Value>(Kind::from(array))};
  }
};

/// A host function as HDF5 gets it: an adapter and its context.
template <auto Adapter>
struct CalledBack {
  CallbackContext context;
  [[nodiscard]] auto arguments() { return std::tuple(Adapter, static_cast<void*>(&context)); }
  void raiseParked() const { context.raiseParked(); }
};
template <auto Adapter>
struct Function {
  static CalledBack<Adapter> from(const zbArray* function) { return {CallbackContext(function)}; }
};

/// Two inputs: the function and the user data, which travel from call to call and are
/// the last result.
template <auto Adapter>
struct CalledBackWithData : CalledBack<Adapter> {
  [[nodiscard]] zbArray* left() const { return this->context.userData; }
};
template <auto Adapter, Description Report = kNoCallbackRan>
struct FunctionAndData {
  static constexpr std::size_t inputs = 2;
  static CalledBackWithData<Adapter> from(Inputs functionAndData) {
    return {CallbackContext(functionAndData[0], functionAndData[1], Report.text)};
  }
};

/// The status, then where the iteration stopped and the user data, as far as they are
/// asked for.
struct Walked {
  template <class Rule, class Call, class Taken>
  static void run(Results& outs, Call call, Taken& taken) {
    giveAll(outs, Rule::check(call()), taken);
  }

 protected:
  template <class Taken>
  static void giveAll(Results& outs, herr_t status, const Taken& taken) {
    outs.giveIfAsked(makeNumber(status));
    std::apply([&](const auto&... value) { (giveLeft(outs, value), ...); }, taken);
  }

 private:
  template <class Value>
  static void giveLeft([[maybe_unused]] Results& outs, [[maybe_unused]] const Value& value) {
    if constexpr (requires { value.left(); }) outs.giveIfAsked(value.left());
  }
};

/// The same; a negative status raises `Message` with the report of the host function
/// that failed, beside HDF5's error stack.
template <class Message>
struct WalkedOr : Walked {
  template <class Rule, class Call, class Taken>
  static void run(Results& outs, Call call, Taken& taken) {
    const herr_t status = call();
    if (status < 0) std::apply([](const auto&... value) { (raiseReport(value), ...); }, taken);
    giveAll(outs, status, taken);
  }

 private:
  template <class Value>
  static void raiseReport([[maybe_unused]] const Value& value) {
    if constexpr (requires { value.context; }) raiseFailed<Message>(value.context.report);
  }
};

}  // namespace h5gate
