// Whether a host array is what a memory datatype asks for. All of it is found out
// before anything is allocated or copied: the conversion itself then need not look.
#pragma once

#include <string_view>

#include "runtime/array.hpp"
#include "runtime/data_place.hpp"
#include "runtime/datatype_plan.hpp"

namespace zembra {

/// Raises a host error unless the array makes exactly `count` elements of the
/// datatype. Items of sequences are looked at when their turn comes: each has a
/// count of its own, lengthOf().
void requireFit(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                const DataPlace& place);

/// Elements of the datatype that the array makes; rounded up, so that a remainder
/// does not fit.
std::size_t lengthOf(const DatatypePlan& plan, const zbArray* data);

/// A numeric array that is of the class as it stands: logical bytes are uint8 ones.
bool isOfClass(const zbArray* data, zbClass type);

/// Strings side by side: the first dimension is the length, the others count.
std::size_t columnsOf(const zbArray* text);
/// One string, whichever way it lies.
bool isVector(const zbArray* text);

/// `length` characters without their trailing NULs, which are padding.
std::string_view textOf(const zbArray* text, std::size_t first, std::size_t length);

/// Visits the `count` texts of an array that fits, each with its place.
template <class Visit>
void forEachText(const zbArray* data, std::size_t count, const DataPlace& place, Visit visit) {
  if (data->type == zbClass::Cell) {
    for (std::size_t i = 0; i < count; ++i) {
      const zbArray* item = zbGetCell(data, i);
      visit(textOf(item, 0, item->elements), DataPlace(place, i));
    }
  } else {
    const std::size_t length = count == 1 ? data->elements : data->shape()[0];
    for (std::size_t i = 0; i < count; ++i) visit(textOf(data, i * length, length), place);
  }
}

}  // namespace zembra
