// HDF5 texts of unknown length: ask for the length, then for the text.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

namespace h5gate {

/// `read(buffer, size)` gives the length without the NUL, or a negative value, and
/// fills at most `size` bytes. `check` sees both answers and hands on those that are
/// no failure to it; a negative one that it lets pass means no text.
template <class Read, class Check>
std::string readText(Read read, Check check) {
  const auto length = check(read(static_cast<char*>(nullptr), std::size_t{0}));
  if (length <= 0) return {};
  // The writer appends a NUL of its own; std::string keeps one behind its text.
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  check(read(text.data(), text.size()));
  text.resize(std::min(text.find('\0'), text.size()));
  return text;
}

}  // namespace h5gate
