// File names that drivers take for print patterns: HDF5 hands them to the C library as
// they stand, to print a member's number or the file's name into them.
#pragma once

#include <cstddef>
#include <string>
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

/// What a pattern makes of a file's name, or of the digits of a member's number.
inline std::string printedName(std::string_view pattern, std::string_view inserted) {
  std::string printed;
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    if (pattern[at] != '%') {
      printed += pattern[at];
      continue;
    }
    const std::size_t kind = pattern.find_first_not_of("0123456789", at + 1);
    std::size_t width = 0;
    for (std::size_t i = at + 1; i < kind; ++i) {
      width = 10 * width + static_cast<std::size_t>(pattern[i] - '0');
    }
    if (pattern[kind] == '%') {
      printed += '%';
    } else {
      if (inserted.size() < width) printed.append(width - inserted.size(), '0');
      printed += inserted;
    }
    at = kind;
  }
  return printed;
}

}  // namespace hdf5
