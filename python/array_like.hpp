// What is an array to NumPy without being one.
#pragma once

#include "python/python.hpp"

namespace zembra::python {

/// The NumPy array of a range, an object with `__array__` or the buffer protocol (bytes,
/// which are text, aside); none for anything else, arrays of NumPy among them.
py::object arrayLike(PyObject* object);

}  // namespace zembra::python
