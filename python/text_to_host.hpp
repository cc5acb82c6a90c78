// Python texts as char rows, on the bytes that Python has already.
#pragma once

#include "python/python.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

// Whoever calls keeps the object alive for as long as the row.
Value fromStr(PyObject* text);
Value fromBytes(PyObject* bytes);
/// A pathlib.Path, or whatever else has a path to give.
Value fromPath(PyObject* path);

}  // namespace zembra::python
