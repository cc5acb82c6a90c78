// Owning Python objects from C++: pybind11's handles, and the one way in which
// host arrays and exceptions let go of an object.
#pragma once

#include <pybind11/pybind11.h>

namespace zembra::python {

namespace py = pybind11;

/// Takes over a new reference; a null one raises the pending Python exception.
inline py::object steal(PyObject* object) {
  if (object == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::object>(object);
}

inline py::object borrow(PyObject* object) { return py::reinterpret_borrow<py::object>(object); }

/// Gives a reference up, whichever thread is the last to hold it. After the
/// interpreter has ended there is nothing left to give back to.
inline void releaseObject(void* object) {
  if (Py_IsInitialized() == 0) return;
  if (PyGILState_Check() == 1) {  // nearly always
    Py_DECREF(static_cast<PyObject*>(object));
    return;
  }
  const PyGILState_STATE state = PyGILState_Ensure();
  Py_DECREF(static_cast<PyObject*>(object));
  PyGILState_Release(state);
}

}  // namespace zembra::python
