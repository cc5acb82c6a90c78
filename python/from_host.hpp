// Host arrays -> Python values.
#pragma once

#include "python/python.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// The Python form of a host array: the very object that it was made from, or else
/// a new one. Numeric data are shared with the array, not copied, unless they are
/// few.
py::object fromHost(const Value& value);

}  // namespace zembra::python
