// Python callables as host functions.
#pragma once

#include "python/python.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// A function handle on a Python callable. Called for one output it gives what the
/// callable returns, a status or nothing; called for two, the pair of a status and
/// user data that the callable has to return. `toHost` makes the host's form of a
/// status, `fromHost` what the callable sees of its arguments; user data travel as they
/// are. What the callable raises leaves as a PythonException.
Value fromCallable(PyObject* callable, Value (*toHost)(PyObject*),
                   py::object (*fromHost)(const Value&));

}  // namespace zembra::python
