#include "python/numpy_to_host.hpp"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/numeric_class.hpp"
#include "python/held_object.hpp"
#include "python/recursion_guard.hpp"
#include "python/text_to_host.hpp"
#include "python/unconvertible.hpp"
#include "python/utf8.hpp"
#include "runtime/lane.hpp"

namespace zembra::python {
namespace {

using ToHost = Value (*)(PyObject*);

/// The class whose elements are the array's as they stand; Unknown where there is none.
/// NumPy 2 keeps what it knows of a dtype elsewhere than NumPy 1: accessors know where.
zbClass classOf(PyArrayObject* array) {
  const auto size = static_cast<std::size_t>(PyArray_ITEMSIZE(array));
  switch (PyArray_DESCR(array)->kind) {
    case 'b': return zbClass::Logical;
    case 'i': return Zembra::integerClass(size, true);
    case 'u': return Zembra::integerClass(size, false);
    case 'f':
      if (size == sizeof(double)) return zbClass::Double;
      return size == sizeof(float) ? zbClass::Single : zbClass::Unknown;
    default: return zbClass::Unknown;
  }
}

/// The array with its elements one after the other, slowest dimension first, as
/// the machine has them: the array itself where it is so already.
py::object inMemoryOrder(PyArrayObject* array, PyArray_Descr* type = nullptr) {
  constexpr int kLayout = NPY_ARRAY_C_CONTIGUOUS | NPY_ARRAY_ALIGNED | NPY_ARRAY_NOTSWAPPED;
  return steal(PyArray_CheckFromAny(reinterpret_cast<PyObject*>(array), type, 0, 0,
                                    kLayout | NPY_ARRAY_FORCECAST, nullptr));
}

/// The host names the fastest-varying dimension first.
Shape reversedShape(PyArrayObject* array) {
  const npy_intp* dimensions = PyArray_DIMS(array);
  Shape shape(dimensions, dimensions + PyArray_NDIM(array));
  std::reverse(shape.begin(), shape.end());
  return shape;
}

Value natural(Value value, int rank) {
  value.get()->naturalRank = static_cast<std::int8_t>(rank);
  return value;
}

Value onArray(zbClass type, py::object ordered, const Shape& shape, int rank) {
  void* const data = PyArray_DATA(asArray(ordered));
  return natural(makeOnBlock(type, shape, data, ownerOf(std::move(ordered))), rank);
}

Value fromNumbers(zbClass type, py::object ordered) {
  PyArrayObject* const array = asArray(ordered);
  const Shape shape = reversedShape(array);
  return onArray(type, std::move(ordered), shape, PyArray_NDIM(array));
}

/// Elements of several bytes each, which become a dimension of their own.
Value fromByteStrings(zbClass type, PyArrayObject* array) {
  Shape shape = reversedShape(array);
  shape.insert(shape.begin(), static_cast<std::size_t>(PyArray_ITEMSIZE(array)));
  return onArray(type, inMemoryOrder(array), shape, PyArray_NDIM(array) + 1);
}

/// The gateway takes no complex numbers; the real part stands for the value.
Value fromComplex(PyArrayObject* array, ToHost toHost) {
  const py::object real = steal(PyObject_GetAttrString(reinterpret_cast<PyObject*>(array), "real"));
  Value value = toHost(real.ptr());
  Value marked =
      makeOnBlock(value.get()->type, reversedShape(array), value.get()->data, value.get()->owner);
  marked.get()->complex = true;
  return natural(std::move(marked), PyArray_NDIM(array));
}

Value fromElements(PyArrayObject* array, ToHost toHost) {
  const RecursionGuard guard;
  const py::object flat = steal(PyArray_Ravel(array, NPY_CORDER));
  const npy_intp count = PyArray_SIZE(asArray(flat));
  if (count > 0) {
    const py::object list = steal(PyArray_ToList(asArray(flat)));
    if (auto texts = fromStrs(list.ptr(), reversedShape(array))) {
      return natural(*std::move(texts), PyArray_NDIM(array));
    }
  }
  std::vector<Value> values;
  values.reserve(static_cast<std::size_t>(count));
  for (npy_intp i = 0; i < count; ++i) {
    const char* place = static_cast<const char*>(PyArray_GETPTR1(asArray(flat), i));
    values.push_back(toHost(steal(PyArray_GETITEM(asArray(flat), place)).ptr()));
  }
  return natural(makeCell(reversedShape(array), std::move(values)), PyArray_NDIM(array));
}

/// The columns of records: one for each field.
class Columns {
 public:
  Columns(PyArrayObject* records, ToHost toHost)
      : records_(records), toHost_(toHost), packed_(PyArray_IS_C_CONTIGUOUS(records) != 0) {}

  void add(const py::handle name) {
    const py::object field =
        steal(PyObject_GetItem(reinterpret_cast<PyObject*>(records_), name.ptr()));
    fields_.emplace_back(utf8(borrow(name.ptr())).view(), columnOf(field));
  }

  Value take() {
    if (!lanes_.empty()) {
      copyLanes<Gathering>(lanes_, reinterpret_cast<const std::byte*>(PyArray_BYTES(records_)),
                           static_cast<std::size_t>(PyArray_ITEMSIZE(records_)), 0,
                           static_cast<std::size_t>(PyArray_SIZE(records_)));
    }
    return makeStruct(std::move(fields_));
  }

 private:
  /// Numbers as the machine has them are left for one pass over all fields, others become what
  /// they become by themselves.
  Value columnOf(const py::object& object) {
    PyArrayObject* const field = PyArray_Check(object.ptr()) ? asArray(object) : nullptr;
    const bool isPlain = packed_ && field != nullptr && PyArray_ISNOTSWAPPED(field);
    const zbClass plain = isPlain ? classOf(field) : zbClass::Unknown;
    if (plain == zbClass::Unknown || PyArray_SIZE(field) == 0) return toHost_(object.ptr());

    Value column = natural(makeUninitialised(plain, reversedShape(field)), PyArray_NDIM(field));
    const auto offset = static_cast<std::size_t>(PyArray_BYTES(field) - PyArray_BYTES(records_));
    const npy_intp bytes = PyArray_NBYTES(field) / PyArray_SIZE(records_);
    lanes_.emplace_back(LanePlace().at(offset).ofPieces(static_cast<std::size_t>(bytes)),
                        static_cast<std::byte*>(column.get()->data));
    return column;
  }

  PyArrayObject* records_;
  ToHost toHost_;
  bool packed_;
  std::vector<std::pair<std::string, Value>> fields_;
  std::vector<Lane<Gathering>> lanes_;
};

Value fromRecords(PyArrayObject* array, ToHost toHost) {
  const RecursionGuard guard;
  Columns columns(array, toHost);
  const py::object type = borrow(reinterpret_cast<PyObject*>(PyArray_DESCR(array)));
  for (const py::handle name : type.attr("names")) columns.add(name);
  return columns.take();
}

}  // namespace

void requireUnmasked(PyArrayObject* array) {
  if (PyArray_CheckExact(array)) return;
  const py::module_ masked = py::module_::import("numpy.ma");
  if (!masked.attr("is_masked")(py::handle(reinterpret_cast<PyObject*>(array))).cast<bool>()) {
    return;
  }
  throw Unconvertible(PyExc_ValueError,
                      "a masked array with masked elements: fill them first, array.filled(value)");
}

Value fromArray(PyArrayObject* array, ToHost toHost) {
  requireUnmasked(array);
  PyArray_Descr* const type = PyArray_DESCR(array);
  if (const zbClass plain = classOf(array); plain != zbClass::Unknown) {
    return fromNumbers(plain, inMemoryOrder(array));
  }
  switch (type->type_num) {
    case NPY_HALF:
      return fromNumbers(zbClass::Single, inMemoryOrder(array, PyArray_DescrFromType(NPY_FLOAT)));
    case NPY_CFLOAT:
    case NPY_CDOUBLE: return fromComplex(array, toHost);
    case NPY_STRING: return fromByteStrings(zbClass::Char, array);
    case NPY_UNICODE:
    case NPY_OBJECT: return fromElements(array, toHost);
    case NPY_VOID:
      return PyDataType_HASFIELDS(type) ? fromRecords(array, toHost)
                                        : fromByteStrings(zbClass::UInt8, array);
    default:
      throw Unconvertible(PyExc_TypeError,
                          "an array of " + std::string(py::str(reinterpret_cast<PyObject*>(type))) +
                              " has no host form");
  }
}

}  // namespace zembra::python
