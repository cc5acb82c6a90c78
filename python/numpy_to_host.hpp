// NumPy arrays -> host arrays.
#pragma once

#include "python/numpy.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// The array on NumPy's own memory where its layout allows. Structured arrays become a
/// structure of their fields, arrays of objects and of str a cell: `toHost` makes the
/// host's form of what such an array is made of.
Value fromArray(PyArrayObject* array, Value (*toHost)(PyObject*));

/// Refuses a masked array with anything masked: what lies behind a mask means nothing.
void requireUnmasked(PyArrayObject* array);

}  // namespace zembra::python
