#include "python/interrupt.hpp"

#include <utility>

namespace zembra::python {
namespace {

thread_local InterruptScope* innermost = nullptr;

}  // namespace

InterruptScope::InterruptScope() : outer_(std::exchange(innermost, this)) {}
InterruptScope::~InterruptScope() { innermost = outer_; }

PythonException InterruptScope::takePending() {
  PythonException exception = PythonException::pending();
  const bool ordinary = PyErr_GivenExceptionMatches(exception.object(), PyExc_Exception) != 0;
  if (innermost != nullptr && !ordinary) innermost->noted_ = exception;
  return exception;
}

void InterruptScope::throwIfNoted() {
  if (innermost != nullptr) innermost->end();
}

void InterruptScope::end() const {
  if (noted_) throw PythonException(*noted_);
}

}  // namespace zembra::python
