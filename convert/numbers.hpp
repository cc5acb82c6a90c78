// Numeric arguments and results: range-checked scalars and vectors in, doubles out.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

#include "hdf5/compat.hpp"
#include "host/array.hpp"

namespace h5gate {

/// Values for HDF5, one a dimension. HDF5 reads as many as a dataspace has
/// dimensions, whatever was given to it: behind the values stand zeros up to
/// H5S_MAX_RANK.
template <class Value>
class Vector {
 public:
  Vector() : Vector(0) {}
  explicit Vector(std::size_t count)
      : count_(count), slots_(count < H5S_MAX_RANK ? H5S_MAX_RANK : count) {}
  [[nodiscard]] std::size_t size() const { return count_; }
  [[nodiscard]] bool empty() const { return count_ == 0; }
  [[nodiscard]] int rank() const { return static_cast<int>(count_); }
  [[nodiscard]] Value* data() { return slots_.data(); }
  [[nodiscard]] const Value* data() const { return slots_.data(); }
  Value& operator[](std::size_t index) { return slots_[index]; }
  const Value& operator[](std::size_t index) const { return slots_[index]; }

 private:
  std::size_t count_ = 0;
  std::vector<Value> slots_;
};
using Dims = Vector<hsize_t>;
using Offsets = Vector<hssize_t>;

// --- Casts: toward zero; NaN is out of every range ---------------------------

/// Without complaint: out of range gives -2147483648.
std::int32_t truncateToInt32(double value);
/// The same in 64 bits.
std::int64_t truncateToInt64(double value);

/// Out of range raises `numericCastError`.
hsize_t castToSize(double value);
std::int32_t castToInt(double value);
std::uint32_t castToUInt(double value);

/// Modulo 2^64, without complaint; NaN gives 0.
std::uint64_t wrapToSize(double value);

// --- Scalars: the host's scalar value, whatever class and count ----------------

/// Out of range raises `scalarValueInputOutOfRange`.
std::int32_t getIntArg(const zbArray* array);
std::uint32_t getUIntArg(const zbArray* array);
hsize_t getSizeArg(const zbArray* array);

/// Each element of an array of any class as getUIntArg takes a scalar.
std::vector<std::uint32_t> getUIntsArg(const zbArray* array);

/// A double array of any size, or `notDoublePrecision` with the description.
void requireDouble(const zbArray* array, const char* description);

/// A double of exactly one element, or `notDoublePrecision` with the description;
/// then as getSizeArg.
hsize_t getStrictSizeArg(const zbArray* array, const char* description);

/// The scalars of configuration records: out of range raises `inputOutOfRange`.
std::int32_t getConfigIntArg(const zbArray* array);
hsize_t getConfigSizeArg(const zbArray* array);

// --- Vectors: one value an element, in storage order, nothing reversed ----------

Dims getDimsArg(const zbArray* array, const char* description);
/// -1 means unlimited.
Dims getMaxDimsArg(const zbArray* array);
/// Offsets are signed in HDF5; here they can only be set unsigned.
Offsets getOffsetsArg(const zbArray* array, const char* description);
/// Without a class test: the data of any array read as doubles.
Dims getExtentArg(const zbArray* array);

/// Element `index` of the array's data as a double, whatever its numeric class.
double elementAsDouble(const zbArray* array, std::size_t index);

// --- Results ---------------------------------------------------------------------

/// Unsigned 64-bit to the nearest double.
inline double sizeToDouble(std::uint64_t value) { return static_cast<double>(value); }
inline zbArray* makeSizeResult(std::uint64_t value) {
  return zbCreateDoubleScalar(sizeToDouble(value));
}

/// 1-by-n, n-by-1 or rows-by-columns doubles from counts, in order.
zbArray* makeSizes(std::size_t rows, std::size_t columns, const hsize_t* values);
/// n-by-1 doubles, each made by `toDouble` from a value.
template <class Values, class ToDouble>
zbArray* makeColumn(const Values& values, ToDouble toDouble) {
  const std::size_t shape[] = {std::size(values), 1};
  zbArray* array = zbCreateUninitNumericArray(2, shape, zbClass::Double);
  std::transform(std::begin(values), std::end(values),
                 static_cast<double*>(zbGetWritableData(array)), toDouble);
  return array;
}
/// A 1-by-n row in which H5S_UNLIMITED is -1.
zbArray* makeMaxDims(std::size_t count, const hsize_t* values);
/// An empty 0-by-0 double.
zbArray* makeEmpty();

}  // namespace h5gate
