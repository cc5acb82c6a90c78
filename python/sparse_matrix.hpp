// Scipy's sparse matrices: all their values, and the mark that converters ask for.
#pragma once

#include "python/python.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// The array of all values of a sparse matrix; none for anything else, and where scipy is
/// not in use at all.
py::object denseOf(PyObject* object);

/// The value with the mark.
inline Value sparse(Value value) {
  value.get()->sparse = true;
  return value;
}

}  // namespace zembra::python
