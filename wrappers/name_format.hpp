// File names that drivers take for print formats: HDF5 hands them to the C library as
// they stand.
#pragma once

#include <string_view>

namespace h5gate {

/// Whether a name holds one conversion at most, of these kinds and of a width of so
/// many digits at most, and nothing else of that kind; "%%" stands for a per cent sign.
constexpr bool isNameFormat(std::string_view name, std::string_view kinds, std::size_t digits) {
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

}  // namespace h5gate
