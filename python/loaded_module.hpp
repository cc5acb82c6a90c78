// Modules of packages that need not be installed: what is not loaded made no object.
#pragma once

#include "python/python.hpp"

namespace zembra::python {

/// Nothing where nobody has imported the module so far.
inline py::object loadedModule(const char* name) {
  const py::object key = py::str(name);
  PyObject* const module = PyImport_GetModule(key.ptr());
  if (module == nullptr && PyErr_Occurred() != nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::object>(module);
}

}  // namespace zembra::python
