// A level of recursion on Python's own count.
#pragma once

#include "python/python.hpp"

namespace zembra::python {

/// Python's recursion limit guards against lists that contain themselves.
class RecursionGuard {
 public:
  RecursionGuard() {
    if (Py_EnterRecursiveCall(" while converting a value for the gateway") != 0) {
      throw py::error_already_set();
    }
  }
  ~RecursionGuard() { Py_LeaveRecursiveCall(); }
  RecursionGuard(const RecursionGuard&) = delete;
  RecursionGuard& operator=(const RecursionGuard&) = delete;
};

}  // namespace zembra::python
