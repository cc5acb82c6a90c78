// Owning Python objects from C++: pybind11's handles, and how host arrays and
// exceptions let go of an object.
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

/// Gives up the reference of a host array. Arrays live and die in calls and in
/// NumPy arrays, with the interpreter's lock held; the few that are left when the
/// interpreter has ended have nothing to give back to.
inline void releaseInCall(void* object) {
  if (Py_IsInitialized() != 0) Py_DECREF(static_cast<PyObject*>(object));
}

/// Gives a reference up, whichever thread is the last to hold it: an
/// exception is remembered until its thread ends, outside the lock.
inline void releaseObject(void* object) {
  if (Py_IsInitialized() == 0) return;
  const PyGILState_STATE state = PyGILState_Ensure();
  Py_DECREF(static_cast<PyObject*>(object));
  PyGILState_Release(state);
}

}  // namespace zembra::python
