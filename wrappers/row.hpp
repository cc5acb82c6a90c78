// How a row of a function table is written. A mechanical function is
//
//   ROW(H5Scopy, Identifier, SpaceId),
//
// the HDF5 function, what it gives and what it takes, in C's order; its handler is
// instantiated from that. CALL(H5Fopen, openFile, ...) calls something else under
// HDF5's name: a release's own name for it, or a shield before it. Where the number of
// inputs picks one of two functions, the row is BY_COUNT(H5Dopen, Form<H5Dopen1, ...>,
// Form<H5Dopen2, ...>). A function with rules of its own is OWN(H5Screate_simple,
// createSimple), a named handler.
#pragma once

#include <string>
#include <tuple>

#include "wrappers/gives.hpp"
#include "wrappers/takes.hpp"

namespace h5gate {

/// The C arguments that a taken value stands for: one, unless it says otherwise.
template <class Value>
auto argumentsOf(Value& value) {
  if constexpr (requires { value.arguments(); }) {
    return value.arguments();
  } else if constexpr (requires { value.data(); }) {
    return std::tuple(std::as_const(value).data());
  } else {
    return std::tuple(value);
  }
}

/// Raises what a callback could not raise while HDF5 was running.
template <class Value>
void raiseParked([[maybe_unused]] const Value& value) {
  if constexpr (requires { value.raiseParked(); }) value.raiseParked();
}

/// One HDF5 call with what it gives and takes.
template <auto Function, class Gives, class... Takes>
struct Form {
  static constexpr std::size_t inputs = kInputs<Takes...>;

  static void run(Inputs ins, Results& outs) {
    auto taken = convertInputs<Takes...>(ins);
    const auto call = [&](auto... behind) {
      const auto answer = std::apply(
          [&](auto&... value) {
            return std::apply(Function,
                              std::tuple_cat(argumentsOf(value)..., std::tuple(behind...)));
          },
          taken);
      std::apply([](const auto&... value) { (raiseParked(value), ...); }, taken);
      return answer;
    };
    Gives::template run<decltype(ruleOf<Gives>())>(outs, call, taken);
  }
};

/// The form whose number of inputs was given.
template <class... Forms>
void byCount(Inputs ins, Results& outs) {
  const bool found = ((ins.size() == Forms::inputs && (Forms::run(ins, outs), true)) || ...);
  requireArgCount(found);
}

}  // namespace h5gate

// The name is made text before the preprocessor replaces it, as it does with those that
// HDF5 has in several versions.
// clang-format off
#define ROW(Function, ...)  {#Function, H5GATE_FORMS(h5gate::Form<Function, __VA_ARGS__>)}
#define CALL(Name, ...)     {#Name, H5GATE_FORMS(h5gate::Form<__VA_ARGS__>)}
#define BY_COUNT(Name, ...) {#Name, H5GATE_FORMS(__VA_ARGS__)}
#define OWN(Name, ...)      {#Name, h5gate::own<__VA_ARGS__>}
#define H5GATE_FORMS(...)   h5gate::own<h5gate::byCount<__VA_ARGS__>>
// clang-format on
