// Cells of texts as HDF5 has them: pointers to texts that end with a NUL. Somebody who asks
// for an element gets an array of it; those who want all of them need none.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "runtime/array.hpp"

namespace zembra {

/// None is null. What keeps the pointers keeps the texts, too.
using PackedTexts = std::shared_ptr<const char* const[]>;

/// A cell of as many texts as the shape has elements.
Value makeTexts(std::span<const std::size_t> shape, PackedTexts texts);

/// The texts of such a cell; null for any other array.
inline const char* const* packedTexts(const zbArray* array) {
  return array->type == zbClass::Cell ? array->composite->texts.get() : nullptr;
}

/// An item of a cell, borrowed; null where none is set.
zbArray* itemOf(const zbArray* cell, std::size_t index);

/// Makes the cell one of arrays.
void unpack(zbArray* cell);

}  // namespace zembra
