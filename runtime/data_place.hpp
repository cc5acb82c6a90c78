// A place within the data that a script wants written: the array itself, a field,
// an item of a cell; and the refusals that name it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "runtime/array.hpp"

namespace zembra {

/// Parents outlive their children: places are made on the way down a recursion.
class DataPlace {
 public:
  DataPlace() = default;
  /// The array itself. The advice follows messages about the count of elements.
  explicit DataPlace(std::string_view advice) : advice_(advice) {}
  DataPlace(const DataPlace& parent, std::string_view field)
      : parent_(&parent), field_(field), advice_(parent.advice_) {}
  DataPlace(const DataPlace& parent, std::size_t item) : parent_(&parent), item_(item) {}

  /// "The array", "Item 3 (counted from 0) of field 'names' of the array".
  [[nodiscard]] std::string name() const;

  /// The array there is of a class that the datatype cannot take.
  [[noreturn]] void refuseClass(const zbArray* data, const std::string& datatype,
                                const std::string& needed) const;
  /// Raises a host error when there are too few or too many of the unit there.
  void requireCount(std::size_t count, std::size_t needed, std::string_view unit) const;
  /// Complex and sparse arrays have no counterpart in HDF5.
  void requirePlain(const zbArray* data) const;
  /// The item of a cell that is expected here.
  const zbArray* requireItem(const zbArray* cell, std::size_t index) const;

 private:
  [[nodiscard]] std::string path() const;

  const DataPlace* parent_ = nullptr;
  std::string_view field_;
  std::size_t item_ = 0;
  std::string_view advice_;
};

/// The fields of a 1-by-1 structure in the order of a compound's members. Raises a
/// host error for a member without a field, and for a field without a member, whose
/// data would be lost.
std::vector<const zbArray*> matchFields(const zbArray* structure,
                                        const std::vector<std::string_view>& members,
                                        const DataPlace& place);

}  // namespace zembra
