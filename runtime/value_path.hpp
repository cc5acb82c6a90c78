// The path to a value within the data that a script wants written: the array itself,
// a field, an item of a cell. For messages, which name the value by it.
#pragma once

#include <string>
#include <string_view>

#include "runtime/array.hpp"

namespace zembra {

/// Each path points to the one above it, which must outlive it: paths are made on the
/// way down a recursion.
class ValuePath {
 public:
  ValuePath() = default;
  /// The array itself. The advice follows messages about its count of elements and of
  /// its fields' elements.
  explicit ValuePath(std::string_view advice) : advice_(advice) {}
  ValuePath(const ValuePath& parent, std::string_view field)
      : parent_(&parent), field_(field), advice_(parent.advice_) {}
  ValuePath(const ValuePath& parent, std::size_t item) : parent_(&parent), item_(item) {}

  /// "The array", "Item 3 (counted from 0) of field 'names' of the array".
  [[nodiscard]] std::string name() const;

  /// Raises a host error: the value is of a class that the datatype cannot take.
  [[noreturn]] void refuseClass(const zbArray* value, const std::string& datatype,
                                const std::string& needed) const;
  /// Raises a host error when the value has too few or too many of the unit.
  void requireCount(std::size_t count, std::size_t needed, std::string_view unit) const;
  /// Raises a host error for a complex or sparse value: HDF5 has no such thing.
  void requirePlain(const zbArray* value) const;
  /// An item of the cell, or a host error where none is set.
  const zbArray* requireItem(const zbArray* cell, std::size_t index) const;

 private:
  [[nodiscard]] std::string words() const;

  const ValuePath* parent_ = nullptr;
  std::string_view field_;
  std::size_t item_ = 0;
  std::string_view advice_;
};

}  // namespace zembra
