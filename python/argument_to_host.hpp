// The arguments of the functions of `zembra.h5`: what the reference says of an argument
// decides what may stand for it.
#pragma once

#include "python/python.hpp"
#include "python/reference_table.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// The host's form of an argument of the kind: as toHost() has it, but that whatever is
/// a number becomes doubles where the gateway wants doubles. Throws Unconvertible where
/// that would lose something.
Value argumentToHost(PyObject* object, Kind kind);

}  // namespace zembra::python
