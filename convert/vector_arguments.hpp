// Vector arguments: one value an element, in storage order, nothing reversed.
#pragma once

#include <cstdint>
#include <vector>

#include "convert/padded_vector.hpp"
#include "host/array.hpp"

namespace h5gate {

/// A double array, or `notDoublePrecision` with the description; an element out of
/// range raises `numericCastError`.
PaddedSizes getDimsArg(const zbArray* array, const char* description);
/// The same; -1 means unlimited.
PaddedSizes getMaxDimsArg(const zbArray* array);
/// Offsets are signed in HDF5; here they can only be set unsigned.
PaddedOffsets getOffsetsArg(const zbArray* array, const char* description);
/// Without a class test: the data of any array read as doubles.
PaddedSizes getExtentArg(const zbArray* array);

/// Each element of an array of any class as a 32-bit number; one out of range raises
/// `scalarValueInputOutOfRange`.
std::vector<std::uint32_t> getUIntsArg(const zbArray* array);

/// Element `index` of the array's data as a double, whatever its numeric class; NaN,
/// which is out of every range, where it is no number.
double elementAsDouble(const zbArray* array, std::size_t index);

}  // namespace h5gate
