#include "python/to_host.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "python/callback.hpp"
#include "python/errors.hpp"
#include "python/numpy.hpp"
#include "python/package.hpp"
#include "python/text.hpp"

namespace zembra::python {
namespace {

[[noreturn]] void refuse(const std::string& reason) {
  throw Unconvertible(PyExc_TypeError, reason);
}

Origin originOf(PyObject* object) {
  Py_INCREF(object);
  return {object, releaseInCall};
}

/// Python's own recursion limit guards against lists that contain themselves.
class RecursionGuard {
 public:
  RecursionGuard() {
    if (Py_EnterRecursiveCall(" while converting a value for the gateway") != 0) {
      throw py::error_already_set();
    }
  }
  ~RecursionGuard() { Py_LeaveRecursiveCall(); }
  RecursionGuard(const RecursionGuard&) = delete;
  RecursionGuard& operator=(const RecursionGuard&) = delete;
};

// --- Numbers ------------------------------------------------------------------

/// Numbers on the host are doubles; an integer that would change is refused.
double exactDouble(PyObject* integer) {
  const double value = PyLong_AsDouble(integer);
  if (value == -1.0 && PyErr_Occurred() != nullptr) {
    PyErr_Clear();
    throw Unconvertible(PyExc_OverflowError, "an integer beyond the range of a double");
  }
  constexpr double kAllExactBelow = 9007199254740992.0;  // 2^53
  if (std::abs(value) >= kAllExactBelow) {
    const py::object back = steal(PyLong_FromDouble(value));
    if (!back.equal(borrow(integer))) {
      throw Unconvertible(PyExc_OverflowError, "the integer " + std::string(py::str(integer)) +
                                                   " cannot be held exactly by a double");
    }
  }
  return value;
}

bool isId(PyObject* object) {
  return PyObject_TypeCheck(object,
                            reinterpret_cast<PyTypeObject*>(PackageClasses::get().id.ptr())) != 0;
}

double identifierOf(PyObject* id) {
  const py::object identifier = steal(PyObject_GetAttrString(id, "identifier"));
  const double value = PyFloat_AsDouble(identifier.ptr());
  if (value == -1.0 && PyErr_Occurred() != nullptr) throw py::error_already_set();
  return value;
}

/// What counts as a number inside a list.
std::optional<double> numberIn(PyObject* item) {
  if (PyFloat_CheckExact(item)) return PyFloat_AS_DOUBLE(item);
  if (PyBool_Check(item) || PyUnicode_Check(item)) return std::nullopt;
  if (PyLong_Check(item)) return exactDouble(item);
  if (PyFloat_Check(item)) return PyFloat_AS_DOUBLE(item);
  if (PyArray_IsScalar(item, Integer) && !PyArray_IsScalar(item, Timedelta)) {
    return exactDouble(steal(PyNumber_Index(item)).ptr());
  }
  if (PyArray_IsScalar(item, Float) || PyArray_IsScalar(item, Half)) {
    return PyFloat_AsDouble(item);
  }
  if (isId(item)) return identifierOf(item);
  return std::nullopt;
}

// --- Text ---------------------------------------------------------------------

/// A char row on the bytes themselves; whoever calls keeps their owner alive.
Value rowOn(std::string_view bytes, std::shared_ptr<void> owner) {
  void* data = const_cast<char*>(bytes.data());  // arguments are never written to
  return makeOnBlock(zbClass::Char, {bytes.empty() ? 0U : 1U, bytes.size()}, data,
                     std::move(owner));
}

std::shared_ptr<void> ownerOf(py::object object) { return {object.release().ptr(), releaseInCall}; }

Value fromStr(PyObject* text) {
  const Utf8 encoded = utf8(borrow(text));
  // The str itself keeps its UTF-8 form, and the array keeps the str.
  if (encoded.owner().ptr() == text) return rowOn(encoded.view(), nullptr);
  return rowOn(encoded.view(), ownerOf(encoded.owner()));
}

std::string_view bytesOf(PyObject* bytes) {
  return {PyBytes_AS_STRING(bytes), static_cast<std::size_t>(PyBytes_GET_SIZE(bytes))};
}

Value fromPath(PyObject* path) {
  py::object text = steal(PyOS_FSPath(path));
  if (PyUnicode_Check(text.ptr())) {
    const Utf8 encoded = utf8(text);
    return rowOn(encoded.view(), ownerOf(encoded.owner()));
  }
  const std::string_view bytes = bytesOf(text.ptr());
  return rowOn(bytes, ownerOf(std::move(text)));
}

// --- Containers ---------------------------------------------------------------
// The items of a list are looked up anew at every step: converting one may run
// Python code that changes the list.

std::size_t lengthOf(PyObject* sequence) {
  return static_cast<std::size_t>(PySequence_Fast_GET_SIZE(sequence));
}

py::object itemOf(PyObject* sequence, std::size_t index) {
  return borrow(PySequence_Fast_GET_ITEM(sequence, static_cast<Py_ssize_t>(index)));
}

std::optional<Value> numbersFrom(PyObject* sequence) {
  constexpr std::size_t kFew = 32;
  const std::size_t count = lengthOf(sequence);
  double few[kFew];
  std::vector<double> many(count > kFew ? count : 0);
  double* const numbers = count > kFew ? many.data() : few;
  for (std::size_t i = 0; i < count; ++i) {
    if (i >= lengthOf(sequence)) return std::nullopt;
    const std::optional<double> number = numberIn(itemOf(sequence, i).ptr());
    if (!number) return std::nullopt;
    numbers[i] = *number;
  }
  return makeRow({numbers, count});
}

Value fromSequence(PyObject* sequence) {
  if (lengthOf(sequence) == 0) return makeEmpty();
  if (std::optional<Value> row = numbersFrom(sequence)) return *std::move(row);
  const RecursionGuard guard;
  std::vector<Value> values;
  for (std::size_t i = 0; i < lengthOf(sequence); ++i) {
    values.push_back(toHost(itemOf(sequence, i).ptr()));
  }
  const std::size_t count = values.size();
  return makeCell({1, count}, std::move(values));
}

/// A structure, where every key can be the name of a field.
std::optional<Value> structFrom(PyObject* dict) {
  const RecursionGuard guard;
  const py::object items = steal(PyDict_Items(dict));
  std::vector<std::pair<std::string, Value>> fields;
  for (std::size_t i = 0; i < lengthOf(items.ptr()); ++i) {
    PyObject* const item = PyList_GET_ITEM(items.ptr(), static_cast<Py_ssize_t>(i));
    PyObject* const key = PyTuple_GET_ITEM(item, 0);
    if (!PyUnicode_Check(key)) return std::nullopt;
    fields.emplace_back(utf8(borrow(key)).view(), toHost(PyTuple_GET_ITEM(item, 1)));
  }
  return makeStruct(std::move(fields));
}

// --- NumPy arrays -------------------------------------------------------------

zbClass bySize(npy_intp size, zbClass one, zbClass two, zbClass four, zbClass eight) {
  switch (size) {
    case 1: return one;
    case 2: return two;
    case 4: return four;
    case 8: return eight;
    default: return zbClass::Unknown;
  }
}

zbClass classOf(const PyArray_Descr* type) {
  switch (type->kind) {
    case 'b': return zbClass::Logical;
    case 'i':
      return bySize(type->elsize, zbClass::Int8, zbClass::Int16, zbClass::Int32, zbClass::Int64);
    case 'u':
      return bySize(type->elsize, zbClass::UInt8, zbClass::UInt16, zbClass::UInt32,
                    zbClass::UInt64);
    case 'f':
      return bySize(type->elsize, zbClass::Unknown, zbClass::Unknown, zbClass::Single,
                    zbClass::Double);
    default: return zbClass::Unknown;
  }
}

PyArrayObject* asArray(const py::object& object) {
  return reinterpret_cast<PyArrayObject*>(object.ptr());
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

Value fromComplex(PyArrayObject* array) {
  // The gateway takes no complex numbers; the real part stands for the value.
  const py::object real = steal(PyObject_GetAttrString(reinterpret_cast<PyObject*>(array), "real"));
  Value value = toHost(real.ptr());
  Value marked =
      makeOnBlock(value.get()->type, reversedShape(array), value.get()->data, value.get()->owner);
  marked.get()->complex = true;
  return natural(std::move(marked), PyArray_NDIM(array));
}

Value fromElements(PyArrayObject* array) {
  const RecursionGuard guard;
  const py::object flat = steal(PyArray_Ravel(array, NPY_CORDER));
  const npy_intp count = PyArray_SIZE(asArray(flat));
  std::vector<Value> values;
  values.reserve(static_cast<std::size_t>(count));
  for (npy_intp i = 0; i < count; ++i) {
    const char* place = static_cast<const char*>(PyArray_GETPTR1(asArray(flat), i));
    values.push_back(toHost(steal(PyArray_GETITEM(asArray(flat), place)).ptr()));
  }
  return natural(makeCell(reversedShape(array), std::move(values)), PyArray_NDIM(array));
}

Value fromRecords(PyArrayObject* array) {
  const RecursionGuard guard;
  std::vector<std::pair<std::string, Value>> fields;
  for (const py::handle name : borrow(PyArray_DESCR(array)->names)) {
    const py::object field =
        steal(PyObject_GetItem(reinterpret_cast<PyObject*>(array), name.ptr()));
    fields.emplace_back(utf8(borrow(name.ptr())).view(), toHost(field.ptr()));
  }
  return makeStruct(std::move(fields));
}

Value fromArray(PyArrayObject* array) {
  PyArray_Descr* const type = PyArray_DESCR(array);
  if (const zbClass plain = classOf(type); plain != zbClass::Unknown) {
    return fromNumbers(plain, inMemoryOrder(array));
  }
  switch (type->type_num) {
    case NPY_HALF:
      return fromNumbers(zbClass::Single, inMemoryOrder(array, PyArray_DescrFromType(NPY_FLOAT)));
    case NPY_CFLOAT:
    case NPY_CDOUBLE: return fromComplex(array);
    case NPY_STRING: return fromByteStrings(zbClass::Char, array);
    case NPY_UNICODE:
    case NPY_OBJECT: return fromElements(array);
    case NPY_VOID:
      return PyDataType_HASFIELDS(type) ? fromRecords(array)
                                        : fromByteStrings(zbClass::UInt8, array);
    default:
      refuse("an array of " + std::string(py::str(reinterpret_cast<PyObject*>(type))) +
             " has no host form");
  }
}

/// Scipy's sparse matrices, where scipy is in use at all. The gateway only asks
/// for the mark; the stored values stand for the matrix.
std::optional<Value> sparseFrom(PyObject* object) {
  const py::object name = py::str("scipy.sparse");
  PyObject* const imported = PyImport_GetModule(name.ptr());
  if (imported == nullptr) {
    if (PyErr_Occurred() != nullptr) throw py::error_already_set();
    return std::nullopt;
  }
  const py::object sparse = steal(imported);
  if (!sparse.attr("issparse")(py::handle(object)).cast<bool>()) return std::nullopt;
  const py::object stored = steal(PyObject_GetAttrString(object, "nnz"));
  Value value = makeRow(std::vector<double>(stored.cast<std::size_t>()));
  value.get()->sparse = true;
  return value;
}

// --- Everything ---------------------------------------------------------------

/// What the hot path need not ask about.
Value convertRare(PyObject* object) {
  if (PyBytes_Check(object)) return rowOn(bytesOf(object), nullptr);
  if (PyDict_Check(object)) {
    if (std::optional<Value> fields = structFrom(object)) return *std::move(fields);
    return makeForeign({});
  }
  if (PyComplex_Check(object)) {
    Value value = makeDouble(PyComplex_RealAsDouble(object));
    value.get()->complex = true;
    return value;
  }
  if (PyArray_IsScalar(object, Generic)) {
    const py::object array = steal(PyArray_FromScalar(object, nullptr));
    return fromArray(asArray(array));
  }
  if (std::optional<Value> matrix = sparseFrom(object)) return *std::move(matrix);
  if (PyObject_HasAttrString(reinterpret_cast<PyObject*>(Py_TYPE(object)), "__fspath__") != 0) {
    return fromPath(object);
  }
  if (PyCallable_Check(object) != 0) return makeCallback(object);
  return makeForeign({});
}

/// Cheap questions and frequent answers first.
Value convert(PyObject* object) {
  if (PyFloat_CheckExact(object)) return makeDouble(PyFloat_AS_DOUBLE(object));
  if (PyUnicode_Check(object)) return fromStr(object);
  if (PyBool_Check(object)) return makeLogical(object == Py_True);
  if (PyLong_Check(object)) return makeDouble(exactDouble(object));
  if (PyList_Check(object) || PyTuple_Check(object)) return fromSequence(object);
  if (object == Py_None) return makeEmpty();
  if (PyArray_Check(object)) return fromArray(reinterpret_cast<PyArrayObject*>(object));
  if (PyFloat_Check(object)) return makeDouble(PyFloat_AS_DOUBLE(object));
  if (isId(object)) {
    std::vector<std::pair<std::string, Value>> properties;
    properties.emplace_back("identifier", makeDouble(identifierOf(object)));
    return makeObject("H5ZB.id", std::move(properties));
  }
  return convertRare(object);
}

}  // namespace

Value toHost(PyObject* object) {
  Value value = convert(object);
  value.get()->origin = originOf(object);
  return value;
}

Value carry(PyObject* object) { return makeForeign(originOf(object)); }

}  // namespace zembra::python
