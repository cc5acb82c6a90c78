// Names that the gateway knows, as scripts see them.
#pragma once

#include <string>

#include "convert/text.hpp"
#include "host/array.hpp"

namespace h5gate {

/// An n-by-1 cell with the text that `nameOf` gives for each entry.
template <class Entries, class NameOf>
zbArray* makeNameList(const Entries& entries, NameOf nameOf) {
  const std::size_t shape[] = {entries.size(), 1};
  zbArray* cell = zbCreateCellArray(2, shape);
  std::size_t index = 0;
  for (const auto& entry : entries) {
    zbSetCell(cell, index++, makeText(std::string(nameOf(entry))));
  }
  return cell;
}

}  // namespace h5gate
