#include "python/array_like.hpp"

#include "python/numpy.hpp"

namespace zembra::python {
namespace {

bool hasArray(PyObject* object) {
  PyObject* const type = reinterpret_cast<PyObject*>(Py_TYPE(object));
  return PyObject_HasAttrString(type, "__array__") != 0 ||
         PyObject_HasAttrString(type, "__array_interface__") != 0;
}

bool isArrayLike(PyObject* object) {
  if (object == Py_None || PyFloat_Check(object) || PyLong_Check(object)) return false;
  if (PyUnicode_Check(object) || PyBytes_Check(object)) return false;
  if (PyArray_Check(object) || PyArray_IsScalar(object, Generic)) return false;
  return PyRange_Check(object) || PyObject_CheckBuffer(object) != 0 || hasArray(object);
}

}  // namespace

py::object arrayLike(PyObject* object) {
  if (!isArrayLike(object)) return {};
  return steal(PyArray_FromAny(object, nullptr, 0, 0, 0, nullptr));
}

}  // namespace zembra::python
