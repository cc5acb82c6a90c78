// Python objects that host arrays hold: the one that an array was made from, the one
// whose memory it uses, the one that it merely carries.
#pragma once

#include <memory>

#include "python/interpreter_lock.hpp"
#include "python/python.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// Gives a reference up, with the interpreter's lock or without: arrays also die while HDF5
/// works. The few that are left when the interpreter has ended have nothing to give back to.
inline void releaseObject(void* object) {
  if (Py_IsInitialized() == 0) return;
  if (PyGILState_Check() != 0) {
    Py_DECREF(static_cast<PyObject*>(object));
    return;
  }
  const InterpreterHeld held;
  Py_DECREF(static_cast<PyObject*>(object));
}

/// What an array that was made from the object remembers.
inline Origin originOf(PyObject* object) {
  Py_INCREF(object);
  return {object, releaseObject};
}

/// What keeps the object alive for as long as an array uses its memory.
inline std::shared_ptr<void> ownerOf(py::object object) {
  return {object.release().ptr(), releaseObject};
}

/// A value that only travels: carried as it is, never looked at.
inline Value carry(PyObject* object) { return makeForeign(originOf(object)); }

}  // namespace zembra::python
