// The type behind every name in `zembra.h5`: a callable with the gateway
// function's name bound. It takes its arguments by the vectorcall protocol, the fastest
// there is: most HDF5 functions take no longer than a slower call would.
#pragma once

#include "python/python.hpp"

namespace zembra::python {

/// The class `Function(name)`.
py::object makeFunctionType();

}  // namespace zembra::python
