// What a function takes: argument kinds, each of which makes a C value of a host array.
// Messages name an argument by its kind's description.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "convert/enumerations.hpp"
#include "convert/identifiers.hpp"
#include "convert/scalar_arguments.hpp"
#include "convert/text.hpp"
#include "convert/vector_arguments.hpp"
#include "hdf5/shields.hpp"
#include "wrappers/handler.hpp"

namespace h5gate {

template <std::size_t N>
struct Description {
  char text[N];
  consteval Description(const char (&words)[N]) { std::copy_n(words, N, text); }
};

// --- Identifiers ----------------------------------------------------------------------

template <Description D>
struct Id {
  static hid_t from(const zbArray* array) { return getHidArg(array, D.text); }
};

template <Description D>
struct TypeId {
  static hid_t from(const zbArray* array) { return getDatatypeHidArg(array, D.text); }
};

/// Lists and classes of lists, by identifier or name.
template <Description D>
struct ListId {
  static hid_t from(const zbArray* array) { return getPlistArg(array, D.text); }
};

/// Lists that an object is made or found with: nothing but a list reaches HDF5.
template <Description D>
struct ObjectList {
  static hid_t from(const zbArray* array) { return hdf5::listOrNothing(getHidArg(array, D.text)); }
};

template <Description D>
struct ObjectListByName {
  static hid_t from(const zbArray* array) {
    return hdf5::listOrNothing(getPlistArg(array, D.text));
  }
};

struct MemoryTypeId {
  static hid_t from(const zbArray* array) { return getMemoryTypeArg(array); }
};
struct MemorySpaceId {
  static hid_t from(const zbArray* array) { return getMemorySpaceArg(array); }
};
struct FileSpaceId {
  static hid_t from(const zbArray* array) { return getFileSpaceArg(array); }
};

// --- Texts ----------------------------------------------------------------------------

template <Description D>
struct Text {
  static std::string from(const zbArray* array) { return getStringArg(array, D.text); }
};

// --- Numbers --------------------------------------------------------------------------

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

/// A double of exactly one element, then as Size.
template <Description D>
struct StrictSize {
  static hsize_t from(const zbArray* array) { return getStrictSizeArg(array, D.text); }
};

/// 32 bits cut out of whatever the number is, and 64 bits modulo 2^64.
struct Truncated {
  static int from(const zbArray* array) { return truncateToInt32(zbGetScalar(array)); }
};
/// Yes but for 0: a truth value has 32 bits in 1.8, and would come back as it was given.
struct Flag {
  static hbool_t from(const zbArray* array) { return Truncated::from(array) != 0; }
};
struct WrappedSize {
  static hsize_t from(const zbArray* array) { return wrapToSize(zbGetScalar(array)); }
};

/// A double as it stands, without a check.
struct Real {
  static double from(const zbArray* array) { return zbGetScalar(array); }
};

/// An empty array stands for 0.
template <class Kind>
struct OrZero {
  static auto from(const zbArray* array) {
    return zbGetNumberOfElements(array) == 0 ? decltype(Kind::from(array)){} : Kind::from(array);
  }
};

/// By name or by number.
template <class Enumeration>
struct Enum {
  static auto from(const zbArray* array) { return getEnumArg<Enumeration>(array); }
};

// --- Vectors --------------------------------------------------------------------------

template <Description D>
struct Dims {
  static PaddedSizes from(const zbArray* array) { return getDimsArg(array, D.text); }
};

/// 32-bit numbers of any class.
struct Unsigneds {
  static std::vector<unsigned> from(const zbArray* array) { return getUIntsArg(array); }
};

/// Two C arguments, first how many values there are.
template <class Kind, class Count = std::size_t>
struct Counted {
  struct Taken {
    decltype(Kind::from(nullptr)) values;
    [[nodiscard]] auto arguments() const {
      return std::tuple(static_cast<Count>(values.size()), values.data());
    }
  };
  static Taken from(const zbArray* array) { return {Kind::from(array)}; }
};

// --- The rest -------------------------------------------------------------------------

/// The array as it is.
struct Any {
  static const zbArray* from(const zbArray* array) { return array; }
};

/// An input that does not stand where its turn comes, counted from 0. Conversions, and
/// so the complaints about them, go by the order of the kinds.
template <std::size_t Position, class Kind>
struct At : Kind {
  static constexpr std::size_t position = Position;
};

// --- Taking them ----------------------------------------------------------------------

/// How many inputs a kind stands for: one, unless it says otherwise.
template <class Kind>
constexpr std::size_t inputsOf() {
  if constexpr (requires { Kind::inputs; }) {
    return Kind::inputs;
  } else {
    return 1;
  }
}

/// Where each kind's inputs begin, and behind them how many there are in all.
template <class... Kinds>
constexpr auto inputPositions() {
  std::array<std::size_t, sizeof...(Kinds) + 1> positions{};
  std::size_t next = 0;
  std::size_t index = 0;
  [[maybe_unused]] const auto place = [&]<class Kind>() {
    positions[index] = next;
    if constexpr (requires { Kind::position; }) positions[index] = Kind::position;
    ++index;
    next += inputsOf<Kind>();
  };
  (place.template operator()<Kinds>(), ...);
  positions[index] = next;
  return positions;
}
template <class... Kinds>
inline constexpr std::size_t kInputs = inputPositions<Kinds...>().back();

template <class Kind>
auto takeAt(Inputs ins, std::size_t position) {
  if constexpr (requires { Kind::from(ins.subspan(position)); }) {
    return Kind::from(ins.subspan(position, inputsOf<Kind>()));
  } else {
    return Kind::from(ins[position]);
  }
}

/// Braces convert from left to right: the first bad input is the one that is reported.
template <class... Kinds>
auto convertInputs(Inputs ins) {
  constexpr auto kPositions = inputPositions<Kinds...>();
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    return std::tuple<decltype(takeAt<Kinds>(ins, 0))...>{takeAt<Kinds>(ins, kPositions[I])...};
  }
  (std::index_sequence_for<Kinds...>());
}

/// All inputs of a call: const auto [space, rank] = take<SpaceId, Int>(ins);
template <class... Kinds>
auto take(Inputs ins) {
  requireArgCount(ins.size() == kInputs<Kinds...>);
  return convertInputs<Kinds...>(ins);
}

}  // namespace h5gate
