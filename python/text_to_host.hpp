// Python texts as char rows, on the bytes that Python has already.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "python/python.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

// Whoever calls keeps the object alive for as long as the row.
Value fromStr(PyObject* text);
Value fromBytes(PyObject* bytes);
/// A cell of the texts of a list or tuple, where all are str that a C string can carry.
/// They are used as they are, and kept alive.
std::optional<Value> fromStrs(PyObject* sequence, std::span<const std::size_t> shape);
/// A pathlib.Path, or whatever else has a path to give.
Value fromPath(PyObject* path);

}  // namespace zembra::python
