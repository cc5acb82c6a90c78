#include "runtime/packed_texts.hpp"

namespace zembra {

Value makeTexts(std::span<const std::size_t> shape, PackedTexts texts) {
  Value cell(newArray(zbClass::Cell));
  setShape(cell.get(), shape);
  Composite& content = compositeOf(cell.get());
  if (cell.get()->elements > 0) content.texts = std::move(texts);
  return cell;
}

zbArray* itemOf(const zbArray* cell, std::size_t index) {
  Composite& content = *cell->composite;
  if (!content.texts) return content.values[index];
  content.values.resize(cell->elements);
  zbArray*& item = content.values[index];
  if (item == nullptr) {
    item = makeText(content.texts.get()[index]).release();
    item->naturalRank = 1;  // one text, never one for each character
  }
  return item;
}

void unpack(zbArray* cell) {
  for (std::size_t i = 0; i < cell->elements; ++i) static_cast<void>(itemOf(cell, i));
  cell->composite->texts.reset();
}

}  // namespace zembra
