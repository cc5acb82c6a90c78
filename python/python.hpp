// Owning Python objects from C++, on top of pybind11's handles.
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

}  // namespace zembra::python
