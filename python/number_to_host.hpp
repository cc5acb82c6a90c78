// Python numbers as the host's doubles.
#pragma once

#include <optional>

#include "python/python.hpp"

namespace zembra::python {

/// Numbers on the host are doubles; an integer that would change is refused.
double exactDouble(PyObject* integer);

/// Whether it is a zembra.Id, which stands for the number of its identifier.
bool isId(PyObject* object);
double identifierOf(PyObject* id);

/// What counts as a number inside a list.
std::optional<double> numberIn(PyObject* item);

}  // namespace zembra::python
