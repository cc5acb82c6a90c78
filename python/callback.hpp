// Python callables as host functions.
#pragma once

#include "python/python.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// A function handle on a Python callable. Called for one output it gives what the
/// callable returns, the status; called for two, a tuple or list of status and
/// user data, or a status alone. User data travel as they are. What the callable
/// raises leaves as a PythonException.
Value makeCallback(PyObject* callable);

}  // namespace zembra::python
