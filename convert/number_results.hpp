// Numeric results: whatever number HDF5 gives, scripts see doubles.
#pragma once

#include <algorithm>
#include <iterator>

#include "hdf5/compat.hpp"
#include "host/array.hpp"

namespace h5gate {

/// Unsigned 64-bit numbers go to the nearest double.
inline constexpr auto toDouble = [](auto number) { return static_cast<double>(number); };

template <class Value>
zbArray* makeNumber(Value number) {
  return zbCreateDoubleScalar(toDouble(number));
}

/// rows-by-columns doubles, each made of a value by `convert`, in storage order.
template <class Iterator, class Convert>
zbArray* makeMatrix(std::size_t rows, std::size_t columns, Iterator first, Convert convert) {
  const std::size_t shape[] = {rows, columns};
  zbArray* array = zbCreateUninitNumericArray(2, shape, zbClass::Double);
  std::transform(first, std::next(first, static_cast<std::ptrdiff_t>(rows * columns)),
                 static_cast<double*>(zbGetWritableData(array)), convert);
  return array;
}
inline zbArray* makeSizes(std::size_t rows, std::size_t columns, const hsize_t* values) {
  return makeMatrix(rows, columns, values, toDouble);
}

/// n-by-1 doubles.
template <class Values, class Convert>
zbArray* makeColumn(const Values& values, Convert convert) {
  return makeMatrix(std::size(values), 1, std::begin(values), convert);
}

/// A 1-by-n row in which H5S_UNLIMITED is -1.
inline zbArray* makeMaxDims(std::size_t count, const hsize_t* values) {
  return makeMatrix(1, count, values,
                    [](hsize_t size) { return size == H5S_UNLIMITED ? -1.0 : toDouble(size); });
}

/// An empty 0-by-0 double.
inline zbArray* makeEmpty() {
  const std::size_t shape[] = {0, 0};
  return zbCreateNumericArray(2, shape, zbClass::Double);
}

}  // namespace h5gate
