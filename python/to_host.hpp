// Python values -> host arrays.
#pragma once

#include "python/python.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// The host's form of a Python value. Every array remembers the object that it was
/// made from, so that what comes back unchanged is that very object; the data of
/// NumPy arrays and text are used where they lie. Throws Unconvertible for the few
/// values that have no form, and whatever Python raises on the way.
Value toHost(PyObject* object);

/// The same of data that are to be written, where whatever is an array to Python people
/// is one: ranges, buffers, what has `__array__`, and nested lists of numbers.
Value dataToHost(PyObject* object);

}  // namespace zembra::python
