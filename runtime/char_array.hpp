// Texts as host arrays hold them: a char array of one text or of several side by side,
// or a cell of char rows.
#pragma once

#include <string_view>

#include "runtime/array.hpp"
#include "runtime/packed_texts.hpp"
#include "runtime/value_path.hpp"

namespace zembra {

/// What stands for a text of variable length that is not even empty, in a cell: nothing.
inline bool isNullText(const zbArray* item) {
  return item->type == zbClass::Double && item->elements == 0;
}

/// Texts side by side: the first dimension is their length, the others count them.
std::size_t columnsOf(const zbArray* text);
/// One text, whichever way it lies.
bool isVector(const zbArray* text);
/// One text and no more, as it comes from a scalar or was made as such. In a row of
/// which nothing is known each character may be a text.
bool isOneText(const zbArray* text);

/// `length` characters without the NULs at their end, which are padding.
std::string_view withoutPadding(const zbArray* text, std::size_t first, std::size_t length);

/// Visits the `count` texts that the array is known to hold, each with its path; null
/// texts have no data.
template <class Visit>
void forEachText(const zbArray* data, std::size_t count, const ValuePath& path, Visit visit) {
  if (const char* const* const texts = packedTexts(data)) {
    for (std::size_t i = 0; i < count; ++i) visit(std::string_view(texts[i]), ValuePath(path, i));
  } else if (data->type == zbClass::Cell) {
    for (std::size_t i = 0; i < count; ++i) {
      const zbArray* item = zbGetCell(data, i);
      const bool null = item->type != zbClass::Char;
      visit(null ? std::string_view() : withoutPadding(item, 0, item->elements),
            ValuePath(path, i));
    }
  } else {
    const std::size_t length = count == 1 ? data->elements : data->shape()[0];
    for (std::size_t i = 0; i < count; ++i) visit(withoutPadding(data, i * length, length), path);
  }
}

}  // namespace zembra
