// What earlier calls of a sequence gave: identifiers of every kind, open and closed, and
// data.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "fuzz/choices.hpp"
#include "fuzz/gateway_calls.hpp"

namespace fuzz {

/// As scripts see them in an identifier's number.
enum class ObjectKind : std::size_t {
  File = 1,
  Group,
  Datatype,
  Space,
  Dataset,
  Attribute,
  Reference,
  Driver,
  ListClass,
  List
};
constexpr std::size_t kKinds = 16;

/// Several kinds, a bit each.
class Kinds {
 public:
  constexpr Kinds(ObjectKind kind) : bits_(1U << static_cast<unsigned>(kind)) {}
  friend constexpr Kinds operator|(Kinds one, Kinds other) {
    one.bits_ |= other.bits_;
    return one;
  }

  [[nodiscard]] constexpr bool has(std::size_t kind) const { return (bits_ >> kind & 1U) != 0; }

 private:
  unsigned bits_;
};

constexpr Kinds operator|(ObjectKind one, ObjectKind other) { return Kinds(one) | Kinds(other); }

class Pools {
 public:
  void addIdentifier(double id);
  /// What was, or may have been, closed.
  void retire(double id);
  void addData(const Value& value);
  void addReference(const Value& value);

  /// One that should be open; 0 where there is none.
  double open(Choices& choices, Kinds kinds) const;
  /// A list of the class with HDF5's name for it, "dataset create"; else any list.
  double list(Choices& choices, const std::string& listClass) const;
  double closed(Choices& choices) const;
  Value data(Choices& choices) const;
  Value reference(Choices& choices) const;

 private:
  std::array<std::vector<double>, kKinds> open_;
  std::map<double, std::string> listClasses_;
  std::vector<double> closed_;
  Values data_;
  Values references_;
};

}  // namespace fuzz
