#include "python/from_host.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <string>
#include <string_view>

#include "python/numpy.hpp"
#include "python/package_classes.hpp"
#include "python/unconvertible.hpp"
#include "python/utf8.hpp"
#include "runtime/array_class.hpp"
#include "runtime/packed_texts.hpp"

namespace zembra::python {
namespace {

/// Up to here, copying the data costs less than an object that shares them.
constexpr std::size_t kFewBytes = 512;

/// What becomes of the doubles in a value, however deep they lie.
enum class Doubles {
  AsTheyAre,
  Values,  // of data: scalars of NumPy
  Whole,   // int and int64
};

py::object convert(const Value& value, Doubles doubles);

// --- Shapes -------------------------------------------------------------------

struct Extent {
  int rank = 0;
  std::array<npy_intp, NPY_MAXDIMS> dimensions{};

  void append(std::size_t dimension) {
    if (rank == NPY_MAXDIMS) {
      throw Unconvertible(PyExc_ValueError, "The result has more dimensions than NumPy can have.");
    }
    dimensions[static_cast<std::size_t>(rank++)] = static_cast<npy_intp>(dimension);
  }
};

std::size_t dimension(const zbArray* array, std::size_t index) {
  return index < array->rank ? array->shape()[index] : 1;
}

/// The host names the fastest-varying dimension first, HDF5 and NumPy last: host
/// dimensions `first` to `end`, the other way round.
Extent reversed(const zbArray* array, std::size_t first, std::size_t end) {
  Extent extent;
  for (std::size_t i = end; i > first; --i) extent.append(dimension(array, i - 1));
  return extent;
}

/// The shape that HDF5 knows. Where there is none, vectors and empty arrays have one
/// dimension, and a matrix is turned as data are: a list of points has a point in each row.
Extent extentOf(const zbArray* array) {
  if (array->naturalRank >= 0) {
    return reversed(array, 0, static_cast<std::size_t>(array->naturalRank));
  }
  const std::size_t* const shape = array->shape();
  const bool vector = array->rank == 2 && (shape[0] == 1 || shape[1] == 1 || array->elements == 0);
  if (!vector) return reversed(array, 0, array->rank);
  Extent extent;
  extent.append(array->elements);
  return extent;
}

// --- NumPy arrays -------------------------------------------------------------

int typeNumber(zbClass type) {
  switch (type) {
    case zbClass::Logical: return NPY_BOOL;
    case zbClass::Single: return NPY_FLOAT32;
    case zbClass::Int8: return NPY_INT8;
    case zbClass::UInt8: return NPY_UINT8;
    case zbClass::Int16: return NPY_INT16;
    case zbClass::UInt16: return NPY_UINT16;
    case zbClass::Int32: return NPY_INT32;
    case zbClass::UInt32: return NPY_UINT32;
    case zbClass::Int64: return NPY_INT64;
    case zbClass::UInt64: return NPY_UINT64;
    default: return NPY_FLOAT64;
  }
}

/// `itemSize` counts for strings only.
py::object newArray(const Extent& extent, int type, std::size_t itemSize, void* data, int flags) {
  if (itemSize > std::numeric_limits<int>::max()) {
    throw Unconvertible(PyExc_ValueError, "The result has longer strings than NumPy can have.");
  }
  return steal(PyArray_New(&PyArray_Type, extent.rank, extent.dimensions.data(), type, nullptr,
                           data, static_cast<int>(itemSize), flags, nullptr));
}

/// The host array's data as a NumPy array of that extent.
py::object onData(const Value& value, const Extent& extent, int type, std::size_t itemSize) {
  zbArray* const array = value.get();
  const std::size_t bytes = array->elements * elementSize(array->type);
  if (bytes <= kFewBytes) {
    py::object copy = newArray(extent, type, itemSize, nullptr, 0);
    if (bytes > 0) std::memcpy(PyArray_DATA(asArray(copy)), array->data, bytes);
    return copy;
  }
  py::object view = newArray(extent, type, itemSize, array->data, NPY_ARRAY_CARRAY);
  Value owner = value;
  py::object capsule = steal(PyCapsule_New(owner.get(), nullptr, [](PyObject* self) {
    drop(static_cast<zbArray*>(PyCapsule_GetPointer(self, nullptr)));
  }));
  static_cast<void>(owner.release());  // the capsule's from here on
  if (PyArray_SetBaseObject(asArray(view), capsule.release().ptr()) != 0) {
    throw py::error_already_set();
  }
  return view;
}

py::object scalarOf(const py::object& array) {
  return steal(PyArray_Return(reinterpret_cast<PyArrayObject*>(array.inc_ref().ptr())));
}

// --- Whole numbers ------------------------------------------------------------

/// An int where the number is one.
py::object wholeNumber(double number) {
  constexpr double kAllExactBelow = 9007199254740992.0;  // 2^53
  if (!std::isfinite(number) || std::trunc(number) != number) return py::float_(number);
  if (std::abs(number) >= kAllExactBelow) return steal(PyLong_FromDouble(number));
  return steal(PyLong_FromLongLong(static_cast<long long>(number)));
}

bool fitsInt64(double number) {
  constexpr double kEnd = 9223372036854775808.0;  // 2^63
  return number >= -kEnd && number < kEnd && std::trunc(number) == number;
}

/// An int64 array, unless one of the doubles is no such number.
py::object wholeNumbers(const Value& value) {
  const zbArray* const array = value.get();
  const std::span doubles(static_cast<const double*>(array->data), array->elements);
  if (!std::ranges::all_of(doubles, fitsInt64)) {
    return onData(value, extentOf(array), NPY_FLOAT64, 0);
  }
  py::object integers = newArray(extentOf(array), NPY_INT64, 0, nullptr, 0);
  auto* const to = static_cast<std::int64_t*>(PyArray_DATA(asArray(integers)));
  std::ranges::transform(doubles, to, [](double n) { return static_cast<std::int64_t>(n); });
  return integers;
}

// --- Numbers ------------------------------------------------------------------

py::object fromDoubles(const Value& value, Doubles doubles) {
  const zbArray* const array = value.get();
  const bool scalar = array->elements == 1 && array->naturalRank == 0;
  if (doubles == Doubles::Whole) {
    return scalar ? wholeNumber(zbGetScalar(array)) : wholeNumbers(value);
  }
  if (scalar && doubles == Doubles::AsTheyAre) return py::float_(zbGetScalar(array));
  return scalarOf(onData(value, extentOf(array), NPY_FLOAT64, 0));
}

py::object fromNumbers(const Value& value, Doubles doubles) {
  const zbArray* const array = value.get();
  if (array->type == zbClass::Double) return fromDoubles(value, doubles);
  if (array->type == zbClass::Logical && array->elements == 1 && array->naturalRank == 0) {
    return py::bool_(zbGetScalar(array) != 0);
  }
  py::object numbers = scalarOf(onData(value, extentOf(array), typeNumber(array->type), 0));
  // Where 64 bits are a number for scripts, the host has no double for it.
  const bool one = doubles == Doubles::Whole && array->elements == 1;
  return one ? py::object(numbers.attr("item")()) : numbers;
}

// --- Text ---------------------------------------------------------------------

py::object fromText(const Value& value) {
  const zbArray* const array = value.get();
  const std::size_t* const shape = array->shape();
  const bool row = array->rank == 2 && (shape[0] <= 1 || shape[1] == 1);
  const bool several = array->naturalRank >= 0 ? array->naturalRank > 1 : !row;
  if (several) {
    const std::size_t rank =
        array->naturalRank >= 0 ? static_cast<std::size_t>(array->naturalRank) : array->rank;
    return onData(value, reversed(array, 1, rank), NPY_STRING, std::max<std::size_t>(shape[0], 1));
  }
  std::string_view bytes(static_cast<const char*>(array->data), array->elements);
  if (array->naturalRank >= 0) {  // a fixed string, padded in the file
    bytes = bytes.substr(0, bytes.find_last_not_of('\0') + 1);
  }
  return toStr(bytes);
}

// --- Containers ---------------------------------------------------------------

py::object element(const zbArray* array, std::size_t index, Doubles doubles) {
  zbArray* const value = array->composite->values[index];
  return convert(value == nullptr ? makeEmpty() : share(value), doubles);
}

py::object item(const zbArray* cell, std::size_t index, Doubles doubles) {
  if (const char* const* texts = packedTexts(cell)) return toStr(texts[index]);
  return element(cell, index, doubles);
}

/// A list, an object array where there is a matrix of them, or of a scalar the one item.
py::object fromCell(const zbArray* array, Doubles doubles) {
  if (array->naturalRank == 0 && array->elements == 1) return item(array, 0, doubles);
  const Extent extent = extentOf(array);
  if (extent.rank < 2) {
    py::list list(array->elements);
    for (std::size_t i = 0; i < array->elements; ++i) {
      PyList_SET_ITEM(list.ptr(), static_cast<Py_ssize_t>(i),
                      item(array, i, doubles).release().ptr());
    }
    return list;
  }
  py::object objects = newArray(extent, NPY_OBJECT, 0, nullptr, 0);
  char* place = PyArray_BYTES(asArray(objects));
  for (std::size_t i = 0; i < array->elements; ++i, place += sizeof(PyObject*)) {
    if (PyArray_SETITEM(asArray(objects), place, item(array, i, doubles).ptr()) != 0) {
      throw py::error_already_set();
    }
  }
  return objects;
}

/// Of the whole numbers of a record, those that are none.
Doubles inField(std::string_view name, Doubles doubles) {
  if (doubles != Doubles::Whole || !std::ranges::binary_search(realFields(), name)) return doubles;
  return Doubles::AsTheyAre;
}

py::dict fieldsOf(const zbArray* array, std::size_t index, Doubles doubles) {
  py::dict fields;
  const auto& names = array->composite->names;
  for (std::size_t i = 0; i < names.size(); ++i) {
    fields[toStr(names[i])] = element(array, index * names.size() + i, inField(names[i], doubles));
  }
  return fields;
}

py::object fromStruct(const zbArray* array, Doubles doubles) {
  if (array->elements == 0) return py::dict();
  if (array->elements == 1) return fieldsOf(array, 0, doubles);
  py::list list(array->elements);
  for (std::size_t i = 0; i < array->elements; ++i) list[i] = fieldsOf(array, i, doubles);
  return list;
}

py::object fromObject(const zbArray* array, Doubles doubles) {
  if (const zbArray* identifier = zbGetProperty(array, 0, "identifier");
      identifier != nullptr && array->composite->className == "H5ZB.id") {
    return PackageClasses::get().id(zbGetScalar(identifier));
  }
  return fieldsOf(array, 0, doubles);
}

// --- Everything ---------------------------------------------------------------

py::object convert(const Value& value, Doubles doubles) {
  const zbArray* const array = value.get();
  if (void* origin = array->origin.get()) return borrow(static_cast<PyObject*>(origin));
  switch (array->type) {
    case zbClass::Char: return fromText(value);
    case zbClass::Cell: return fromCell(array, doubles);
    case zbClass::Struct: return fromStruct(array, doubles);
    case zbClass::Object: return fromObject(array, doubles);
    case zbClass::Function:
    case zbClass::Foreign:
    case zbClass::Unknown:
      throw Unconvertible(PyExc_TypeError, "A " + describe(array) + " has no Python form.");
    default: return fromNumbers(value, doubles);
  }
}

/// Yes is any positive answer; a negative one is neither yes nor no.
py::object answer(const Value& value) {
  const zbArray* const array = value.get();
  const bool number = array->type == zbClass::Double && array->elements == 1;
  if (!number || !(zbGetScalar(array) >= 0)) return convert(value, Doubles::Whole);
  return py::bool_(zbGetScalar(array) > 0);
}

}  // namespace

py::object fromHost(const Value& value) { return convert(value, Doubles::AsTheyAre); }

py::object fromHost(const Value& value, Kind kind) {
  switch (kind) {
    case Kind::Identifier:
    case Kind::NewIdentifier:
    case Kind::Whole:
    case Kind::Record: return convert(value, Doubles::Whole);
    case Kind::YesOrNo: return answer(value);
    case Kind::Data: return convert(value, Doubles::Values);
    default: return convert(value, Doubles::AsTheyAre);
  }
}

py::object wholeNumbersFromHost(const Value& value) { return convert(value, Doubles::Whole); }

}  // namespace zembra::python
