#include "python/argument_to_host.hpp"

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "python/array_like.hpp"
#include "python/callable_to_host.hpp"
#include "python/from_host.hpp"
#include "python/held_object.hpp"
#include "python/loaded_module.hpp"
#include "python/number_to_host.hpp"
#include "python/numpy.hpp"
#include "python/numpy_to_host.hpp"
#include "python/sparse_matrix.hpp"
#include "python/to_host.hpp"
#include "python/unconvertible.hpp"

namespace zembra::python {
namespace {

// --- Arrays of numbers -----------------------------------------------------------

/// Doubles of the same values, or Unconvertible.
py::object exactDoubles(const py::object& numbers) {
  py::object doubles = steal(PyArray_FromAny(numbers.ptr(), PyArray_DescrFromType(NPY_DOUBLE), 0, 0,
                                             NPY_ARRAY_CARRAY | NPY_ARRAY_FORCECAST, nullptr));
  const auto* const values = static_cast<const double*>(PyArray_DATA(asArray(doubles)));
  const py::object flat = steal(PyArray_Ravel(asArray(numbers), NPY_CORDER));
  const bool integers = PyTypeNum_ISINTEGER(PyArray_TYPE(asArray(numbers)));
  constexpr double kAllExactBelow = 9007199254740992.0;  // 2^53
  if (!integers && PyArray_ITEMSIZE(asArray(numbers)) < npy_intp{sizeof(double)}) return doubles;
  for (npy_intp i = 0; i < PyArray_SIZE(asArray(doubles)); ++i) {
    const double value = values[i];
    if (std::isnan(value) || (integers && std::abs(value) < kAllExactBelow)) continue;
    const char* const place = static_cast<const char*>(PyArray_GETPTR1(asArray(flat), i));
    const py::object number = steal(PyArray_GETITEM(asArray(flat), place));
    if (!number.equal(py::float_(value))) {
      throw Unconvertible(PyExc_OverflowError, "the number " + std::string(py::str(number)) +
                                                   " cannot be held exactly by a double");
    }
  }
  return doubles;
}

/// An array of Python's own numbers.
py::object numbersInObjects(PyArrayObject* array) {
  const py::object flat = steal(PyArray_Ravel(array, NPY_CORDER));
  py::object doubles =
      steal(PyArray_SimpleNew(PyArray_NDIM(array), PyArray_DIMS(array), NPY_DOUBLE));
  auto* const to = static_cast<double*>(PyArray_DATA(asArray(doubles)));
  for (npy_intp i = 0; i < PyArray_SIZE(array); ++i) {
    const char* const place = static_cast<const char*>(PyArray_GETPTR1(asArray(flat), i));
    const py::object item = steal(PyArray_GETITEM(asArray(flat), place));
    const std::optional<double> number = numberIn(item.ptr());
    if (!number) return {};
    to[i] = *number;
  }
  return doubles;
}

/// Nothing where the elements are no numbers: what becomes of them is the gateway's to say.
py::object doublesOf(const py::object& numbers) {
  PyArrayObject* const array = asArray(numbers);
  requireUnmasked(array);
  switch (PyArray_DESCR(array)->kind) {
    case 'i':
    case 'u':
    case 'f': return PyArray_TYPE(array) == NPY_DOUBLE ? numbers : exactDoubles(numbers);
    case 'O': return numbersInObjects(array);
    case 'c': throw Unconvertible(PyExc_TypeError, "complex numbers cannot stand for real ones");
    default: return {};
  }
}

// --- Numbers -----------------------------------------------------------------------

/// What the host takes for numbers, or lets pass, as it stands.
bool isPlain(PyObject* object) {
  return PyFloat_Check(object) || PyLong_Check(object) || PyUnicode_Check(object) ||
         object == Py_None || isId(object);
}

/// The object as an array where it is one to NumPy.
py::object arrayOf(PyObject* object) {
  if (PyArray_Check(object)) return borrow(object);
  if (PyArray_IsScalar(object, Number)) return steal(PyArray_FromScalar(object, nullptr));
  return arrayLike(object);
}

bool isSequence(PyObject* object) { return PyList_Check(object) || PyTuple_Check(object); }

/// The frequent ones first: the hot path is a few comparisons.
Value numbersToHost(PyObject* object) {
  if (PyFloat_CheckExact(object)) return makeDouble(PyFloat_AS_DOUBLE(object));
  if (PyLong_CheckExact(object)) return makeDouble(exactDouble(object));
  if (PyUnicode_Check(object)) return toHost(object);
  if (isSequence(object)) return dataToHost(object);
  if (isPlain(object)) return toHost(object);
  if (PyComplex_Check(object)) {
    throw Unconvertible(PyExc_TypeError, "a complex number cannot stand for a real one");
  }
  if (const py::object array = arrayOf(object)) {
    const py::object doubles = doublesOf(array);
    return toHost((doubles ? doubles : array).ptr());
  }
  if (PyIndex_Check(object)) {
    return makeDouble(exactDouble(steal(PyNumber_Index(object)).ptr()));
  }
  if (const py::object dense = denseOf(object)) return sparse(numbersToHost(dense.ptr()));
  return toHost(object);
}

/// The bytes that an integer type has on this machine, whatever its width.
Value codeToHost(PyObject* object) {
  if (!PyLong_CheckExact(object)) return dataToHost(object);
  int overflow = 0;
  const std::int64_t code = PyLong_AsLongLongAndOverflow(object, &overflow);
  if (overflow != 0) {
    throw Unconvertible(PyExc_OverflowError,
                        "the integer " + std::string(py::str(object)) + " has more than 64 bits");
  }
  return makeNumeric(zbClass::Int64, {1, 1}, &code);
}

// --- Identifiers -------------------------------------------------------------------

/// The number of an object of h5py, where h5py is in use.
std::optional<double> identifierFromH5py(PyObject* object) {
  if (!loadedModule("h5py")) return std::nullopt;
  const py::object number =
      py::module_::import("zembra._h5py").attr("identifier_of")(py::handle(object));
  if (number.is_none()) return std::nullopt;
  return number.cast<double>();
}

/// Several, objects of h5py among them.
std::optional<Value> identifiersIn(PyObject* sequence) {
  std::vector<double> numbers;
  for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(sequence); ++i) {
    const py::object item = borrow(PySequence_Fast_GET_ITEM(sequence, i));
    std::optional<double> number = numberIn(item.ptr());
    if (!number) number = identifierFromH5py(item.ptr());
    if (!number) return std::nullopt;
    numbers.push_back(*number);
  }
  return makeRow(numbers);
}

Value identifiersToHost(PyObject* object) {
  if (isPlain(object) || PyArray_Check(object)) return numbersToHost(object);
  if (isSequence(object)) {
    if (std::optional<Value> row = identifiersIn(object)) return *std::move(row);
  } else {
    std::optional<double> number = numberIn(object);
    if (!number) number = identifierFromH5py(object);
    if (number) return makeDouble(*number);
  }
  return numbersToHost(object);
}

}  // namespace

Value argumentToHost(PyObject* object, Kind kind) {
  switch (kind) {
    case Kind::Identifier:
    case Kind::NewIdentifier:
    case Kind::MemoryType: return identifiersToHost(object);
    case Kind::Whole:
    case Kind::Real: return numbersToHost(object);
    case Kind::Data: return dataToHost(object);
    case Kind::Code: return codeToHost(object);
    case Kind::Callback:
      return PyCallable_Check(object) != 0 ? fromCallable(object, toHost, wholeNumbersFromHost)
                                           : toHost(object);
    case Kind::Object: return carry(object);
    default: return toHost(object);
  }
}

}  // namespace zembra::python
