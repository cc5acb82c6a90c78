// File names that drivers take for print patterns: HDF5 hands them to the C library as
// they stand, to print a member's number or the file's name into them.
#pragma once

#include <cstddef>
#include <string_view>

namespace hdf5 {

/// Whether a name holds one conversion at most, of these kinds and of a width of so
/// many digits at most, and nothing else of that kind; "%%" stands for a per cent sign.
constexpr bool isFileNamePattern(std::string_view name, std::string_view kinds,
                                 std::size_t digits) {
  int places = 0;
  for (std::size_t at = name.find('%'); at != std::string_view::npos; at = name.find('%', at)) {
    const std::size_t kind = name.find_first_not_of("0123456789", at + 1);
    if (kind == std::string_view::npos || kind - at - 1 > digits) return false;
    const bool sign = name[kind] == '%' && kind == at + 1;
    if (!sign && kinds.find(name[kind]) == std::string_view::npos) return false;
    if (!sign) ++places;
    at = kind + 1;
  }
  return places <= 1;
}

}  // namespace hdf5
