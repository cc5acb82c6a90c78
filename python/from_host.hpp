// Host arrays -> Python values.
#pragma once

#include "python/python.hpp"
#include "python/reference_table.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// The Python form of a host array: the very object that it was made from, or else
/// a new one. Numeric data are shared with the array, not copied, unless they are
/// few.
py::object fromHost(const Value& value);

/// The same of a result of the kind: what is a whole number is an int, several are an
/// int64 array, yes and no are bool, and a scalar of data is one of NumPy's.
py::object fromHost(const Value& value, Kind kind);
/// For callbacks, whose numbers are whole ones all.
py::object wholeNumbersFromHost(const Value& value);

}  // namespace zembra::python
