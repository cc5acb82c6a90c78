#include "runtime/char_array.hpp"

#include <algorithm>

namespace zembra {

std::size_t columnsOf(const zbArray* text) {
  std::size_t columns = 1;
  for (std::size_t i = 1; i < text->rank; ++i) columns *= text->shape()[i];
  return columns;
}

bool isVector(const zbArray* text) {
  return text->elements == 0 || std::any_of(text->shape(), text->shape() + text->rank,
                                            [&](std::size_t n) { return n == text->elements; });
}

bool isOneText(const zbArray* text) { return text->naturalRank == 1; }

std::string_view withoutPadding(const zbArray* text, std::size_t first, std::size_t length) {
  if (length == 0) return "";
  const std::string_view whole(static_cast<const char*>(text->data) + first, length);
  return whole.substr(0, whole.find_last_not_of('\0') + 1);
}

}  // namespace zembra
