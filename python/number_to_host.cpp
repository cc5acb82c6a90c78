#include "python/number_to_host.hpp"

#include <cmath>
#include <string>

#include "python/numpy.hpp"
#include "python/package_classes.hpp"
#include "python/unconvertible.hpp"

namespace zembra::python {

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

}  // namespace zembra::python
