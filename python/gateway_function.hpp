// The type behind every name in `zembra.h5`: a callable with the gateway
// function's name bound. It speaks the vectorcall protocol itself, because a call
// must cost no more than the HDF5 function deserves.
#pragma once

#include "python/python.hpp"

namespace zembra::python {

/// The class `Function(name)`.
py::object makeFunctionType();

}  // namespace zembra::python
