// Texts as host arrays hold them: a char array of one text or of several side by side,
// or a cell of char rows.
#pragma once

#include <string_view>

#include "runtime/array.hpp"
#include "runtime/value_path.hpp"

namespace zembra {

/// Texts side by side: the first dimension is their length, the others count them.
std::size_t columnsOf(const zbArray* text);
/// One text, whichever way it lies.
bool isVector(const zbArray* text);

/// `length` characters without the NULs at their end, which are padding.
std::string_view withoutPadding(const zbArray* text, std::size_t first, std::size_t length);

/// Visits the `count` texts that the array is known to hold, each with its path.
template <class Visit>
void forEachText(const zbArray* data, std::size_t count, const ValuePath& path, Visit visit) {
  if (data->type == zbClass::Cell) {
    for (std::size_t i = 0; i < count; ++i) {
      const zbArray* item = zbGetCell(data, i);
      visit(withoutPadding(item, 0, item->elements), ValuePath(path, i));
    }
  } else {
    const std::size_t length = count == 1 ? data->elements : data->shape()[0];
    for (std::size_t i = 0; i < count; ++i) visit(withoutPadding(data, i * length, length), path);
  }
}

}  // namespace zembra
