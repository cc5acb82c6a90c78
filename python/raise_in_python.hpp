// The Python exceptions that failed calls end in.
#pragma once

namespace zembra::python {

/// Inside a catch block: makes the C++ exception in flight Python's pending one.
void raiseInPython() noexcept;

}  // namespace zembra::python
