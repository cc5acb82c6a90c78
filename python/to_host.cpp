#include "python/to_host.hpp"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "python/callable_to_host.hpp"
#include "python/held_object.hpp"
#include "python/number_to_host.hpp"
#include "python/numpy.hpp"
#include "python/numpy_to_host.hpp"
#include "python/recursion_guard.hpp"
#include "python/text_to_host.hpp"
#include "python/utf8.hpp"

namespace zembra::python {
namespace {

// --- Containers ---------------------------------------------------------------
// The items of a list are looked up anew at every step: converting one may run
// Python code that changes the list.

std::size_t lengthOf(PyObject* sequence) {
  return static_cast<std::size_t>(PySequence_Fast_GET_SIZE(sequence));
}

py::object itemOf(PyObject* sequence, std::size_t index) {
  return borrow(PySequence_Fast_GET_ITEM(sequence, static_cast<Py_ssize_t>(index)));
}

/// A double row, where every item is a number.
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

/// A structure, where every key can be the name of a field: where all are str.
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

// --- Values with a mark or a class of their own ---------------------------------

/// The gateway takes no complex numbers; the real part stands for the value.
Value fromComplex(PyObject* number) {
  Value value = makeDouble(PyComplex_RealAsDouble(number));
  value.get()->complex = true;
  return value;
}

Value fromId(PyObject* id) {
  std::vector<std::pair<std::string, Value>> properties;
  properties.emplace_back("identifier", makeDouble(identifierOf(id)));
  return makeObject("H5ZB.id", std::move(properties));
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
  if (PyBytes_Check(object)) return fromBytes(object);
  if (PyDict_Check(object)) {
    if (std::optional<Value> fields = structFrom(object)) return *std::move(fields);
    return makeForeign({});
  }
  if (PyComplex_Check(object)) return fromComplex(object);
  if (PyArray_IsScalar(object, Generic)) {
    const py::object array = steal(PyArray_FromScalar(object, nullptr));
    return fromArray(asArray(array), toHost);
  }
  if (std::optional<Value> matrix = sparseFrom(object)) return *std::move(matrix);
  if (PyObject_HasAttrString(reinterpret_cast<PyObject*>(Py_TYPE(object)), "__fspath__") != 0) {
    return fromPath(object);
  }
  if (PyCallable_Check(object) != 0) return fromCallable(object, toHost);
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
  if (PyArray_Check(object)) return fromArray(reinterpret_cast<PyArrayObject*>(object), toHost);
  if (PyFloat_Check(object)) return makeDouble(PyFloat_AS_DOUBLE(object));
  if (isId(object)) return fromId(object);
  return convertRare(object);
}

}  // namespace

Value toHost(PyObject* object) {
  Value value = convert(object);
  value.get()->origin = originOf(object);
  return value;
}

}  // namespace zembra::python
