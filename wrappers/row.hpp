// How a row of a function table is written. A mechanical function is
//
//   {"H5Scopy", wrap<H5Scopy, Identifier, SpaceId>},
//
// the HDF5 call, what it gives and what it takes; its handler is instantiated from
// that. Where the number of inputs picks one of two calls, the row is
// byCount<Form<...>, Form<...>>; a function with rules of its own is rule<3, handler>.
#pragma once

#include <initializer_list>
#include <string>
#include <tuple>
#include <utility>

#include "convert/enumerations.hpp"
#include "convert/identifiers.hpp"
#include "convert/numbers.hpp"
#include "convert/text.hpp"
#include "convert/two_calls.hpp"
#include "gateway/handler.hpp"
#include "hdf5/handle.hpp"

namespace h5gate {

/// The description of an argument, as it appears in messages.
template <std::size_t N>
struct Description {
  char text[N];
  consteval Description(const char (&words)[N]) {  // NOLINT(google-explicit-constructor)
    std::copy_n(words, N, text);
  }
};

// --- What a function takes: from host array to C value --------------------------

template <Description D>
struct Id {
  static hid_t from(const zbArray* array) { return getHidArg(array, D.text); }
};

template <Description D>
struct TypeId {
  static hid_t from(const zbArray* array) { return getDatatypeHidArg(array, D.text); }
};

template <Description D>
struct ListId {
  static hid_t from(const zbArray* array) { return getPlistArg(array, D.text); }
};

/// Lists that an object is made or found with: nothing but a list reaches HDF5.
template <Description D>
struct ObjectList {
  static hid_t from(const zbArray* array) { return listOrNothing(getHidArg(array, D.text)); }
};

template <Description D>
struct ObjectListByName {
  static hid_t from(const zbArray* array) { return listOrNothing(getPlistArg(array, D.text)); }
};

template <Description D>
struct Text {
  static std::string from(const zbArray* array) { return getStringArg(array, D.text); }
};

template <Description D>
struct DimsArg {
  static Dims from(const zbArray* array) { return getDimsArg(array, D.text); }
};

/// Signed and unsigned 32 bits, unsigned 64 bits.
struct Int {
  static int from(const zbArray* array) { return getIntArg(array); }
};
struct Unsigned {
  static unsigned from(const zbArray* array) { return getUIntArg(array); }
};
struct Size {
  static hsize_t from(const zbArray* array) { return getSizeArg(array); }
};

/// An empty array stands for 0.
template <class Kind>
struct OrZero {
  static auto from(const zbArray* array) {
    return zbGetNumberOfElements(array) == 0 ? decltype(Kind::from(array)){} : Kind::from(array);
  }
};

/// A double of exactly one element, then as Size.
template <Description D>
struct StrictSize {
  static hsize_t from(const zbArray* array) { return getStrictSizeArg(array, D.text); }
};

/// 32 bits cut out of whatever the number is, and 64 bits modulo 2^64.
struct Truncated {
  static int from(const zbArray* array) { return truncateToInt32(zbGetScalar(array)); }
};
struct WrappedSize {
  static hsize_t from(const zbArray* array) { return wrapToSize(zbGetScalar(array)); }
};

/// A double as it stands, without a check.
struct Real {
  static double from(const zbArray* array) { return zbGetScalar(array); }
};

/// By name or by number.
template <class Enumeration>
struct Enum {
  static auto from(const zbArray* array) { return getEnumArg<Enumeration>(array); }
};

inline const char* asArgument(const std::string& text) { return text.c_str(); }
inline const hsize_t* asArgument(const Dims& dims) { return dims.data(); }
template <class Value>
Value asArgument(Value value) {
  return value;
}

// --- What a function gives: failure rule and host form ---------------------------

/// No output; a negative status raises.
struct Nothing {
  template <class Call, class... Arguments>
  static void run(zbArray** /*outs*/, Call call, Arguments... arguments) {
    checked(call(arguments...));
  }
};

struct Identifier {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    outs[0] = makeHidResult(checked(call(arguments...)));
  }
};

/// An identifier, handed back whatever it says.
struct RawIdentifier {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    outs[0] = makeHidResult(call(arguments...));
  }
};

/// A signed number; a negative one raises.
struct Number {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    outs[0] = zbCreateDoubleScalar(static_cast<double>(checked(call(arguments...))));
  }
};

/// A signed number, handed back whatever it says.
struct RawNumber {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    outs[0] = zbCreateDoubleScalar(static_cast<double>(call(arguments...)));
  }
};

/// 1 for every positive answer, 0 for no; a negative one raises.
struct YesNo {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    outs[0] = zbCreateDoubleScalar(checked(call(arguments...)) > 0 ? 1.0 : 0.0);
  }
};

/// An unsigned size; `Failure` is the value that raises.
template <std::uint64_t Failure>
struct SizeUnless {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    const std::uint64_t size = call(arguments...);
    if (size == Failure) KVH5libraryError();
    outs[0] = makeSizeResult(size);
  }
};
using SizeNonZero = SizeUnless<0>;
using Address = SizeUnless<HADDR_UNDEF>;

/// An unsigned size, handed back whatever it says.
struct RawSize {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    outs[0] = makeSizeResult(call(arguments...));
  }
};

/// A text that HDF5 allocated; none raises.
struct AllocatedText {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    const hdf5::AllocatedText text(call(arguments...));
    if (!text) KVH5libraryError();
    outs[0] = zbCreateString(text.get());
  }
};

/// A text of unknown length, read into a trailing buffer and size; `Check` is the rule
/// for the lengths that HDF5 answers.
template <const auto& Check>
struct TextBy {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    outs[0] = makeText(readText(
        [&](char* buffer, std::size_t size) { return call(arguments..., buffer, size); }, Check));
  }
};
using CheckedText = TextBy<kChecked>;
/// What fails has the empty text, as what has none.
using RawText = TextBy<kUnchecked>;

/// What an HDF5 function stores through its trailing pointers, one output each; a
/// negative status raises. Each output is As<its C type>.
template <class Value>
struct AsNumber {
  using Type = Value;
  static zbArray* make(Value value) { return zbCreateDoubleScalar(static_cast<double>(value)); }
};
template <class Value>
struct AsSize {
  using Type = Value;
  static zbArray* make(Value value) { return makeSizeResult(value); }
};
struct AsIdentifier {
  using Type = hid_t;
  static zbArray* make(hid_t value) { return makeHidResult(value); }
};

template <class... Results>
struct Outputs {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    std::tuple<typename Results::Type...> values{};
    std::apply([&](auto&... value) { checked(call(arguments..., &value...)); }, values);
    std::apply([&](auto&... value) { ((*outs++ = Results::make(value)), ...); }, values);
  }
};

/// Results of a handler with rules of its own: the first always, the others as far as
/// they are asked for.
inline void storeRequested(int nOut, zbArray** outs, std::initializer_list<zbArray*> results) {
  int stored = 0;
  for (zbArray* result : results) {
    if (stored == 0 || stored < nOut) outs[stored++] = result;
  }
}

// --- Rows -------------------------------------------------------------------------

/// One HDF5 call with what it gives and takes.
template <auto Call, class Gives, class... Takes>
struct Form {
  static constexpr int inputs = sizeof...(Takes);

  static void run(zbArray** outs, const zbArray** ins) {
    run(outs, ins, std::index_sequence_for<Takes...>());
  }

 private:
  template <std::size_t... I>
  static void run(zbArray** outs, [[maybe_unused]] const zbArray** ins,
                  std::index_sequence<I...> /*indices*/) {
    // Braces convert from left to right: the first bad input is the one reported.
    const std::tuple<decltype(Takes::from(nullptr))...> values{Takes::from(ins[I])...};
    Gives::run(outs, Call, asArgument(std::get<I>(values))...);
  }
};

/// The form whose number of inputs was given.
template <class... Forms>
void byCount(int /*nOut*/, zbArray** outs, int nIn, const zbArray** ins) {
  const bool found = ((nIn == Forms::inputs && (Forms::run(outs, ins), true)) || ...);
  requireArgCount(found);
}

template <auto Call, class Gives, class... Takes>
inline constexpr GatewayHandler wrap = byCount<Form<Call, Gives, Takes...>>;

/// A handler with rules of its own for exactly this many inputs.
template <int Inputs, auto Rule>
void rule([[maybe_unused]] int nOut, zbArray** outs, int nIn, const zbArray** ins) {
  requireArgCount(nIn == Inputs);
  if constexpr (std::is_invocable_v<decltype(Rule), int, zbArray**, const zbArray**>) {
    Rule(nOut, outs, ins);
  } else {
    Rule(outs, ins);
  }
}

}  // namespace h5gate
