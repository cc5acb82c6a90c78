#include "python/interrupt.hpp"

#include <utility>

namespace zembra::python {
namespace {

thread_local InterruptScope* innermostScope = nullptr;

}  // namespace

InterruptScope::InterruptScope() : outer_(std::exchange(innermostScope, this)) {}
InterruptScope::~InterruptScope() { innermostScope = outer_; }

PythonException InterruptScope::takePending() {
  PythonException exception = PythonException::pending();
  const bool ordinary = PyErr_GivenExceptionMatches(exception.object(), PyExc_Exception) != 0;
  if (innermostScope != nullptr && !ordinary) innermostScope->noted_ = exception;
  return exception;
}

void InterruptScope::throwIfNoted() {
  if (innermostScope != nullptr) innermostScope->end();
}

void InterruptScope::end() const {
  if (noted_) throw PythonException(*noted_);
}

}  // namespace zembra::python
