// NumPy's C interface, imported once by module.cpp for all files of the module.
#pragma once

#include "python/python.hpp"

#define NPY_NO_DEPRECATED_API NPY_1_22_API_VERSION
#define PY_ARRAY_UNIQUE_SYMBOL zembra_numpy_api
#ifndef ZEMBRA_IMPORTS_NUMPY
#define NO_IMPORT_ARRAY
#endif
#include <numpy/arrayobject.h>
#include <numpy/arrayscalars.h>

namespace zembra::python {

inline PyArrayObject* asArray(const py::object& object) {
  return reinterpret_cast<PyArrayObject*>(object.ptr());
}

}  // namespace zembra::python
