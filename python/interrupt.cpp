#include "python/interrupt.hpp"

#include <utility>

namespace zembra::python {
namespace {

thread_local InterruptScope* innermost = nullptr;

}  // namespace

InterruptScope::InterruptScope() : outer_(std::exchange(innermost, this)) {}
InterruptScope::~InterruptScope() { innermost = outer_; }

void InterruptScope::note(const PythonException& exception) {
  if (innermost == nullptr) return;
  if (PyErr_GivenExceptionMatches(exception.object(), PyExc_Exception) != 0) return;
  innermost->noted_ = exception;
}

void InterruptScope::throwIfNoted() {
  if (innermost != nullptr) innermost->end();
}

void InterruptScope::end() const {
  if (noted_) throw PythonException(*noted_);
}

}  // namespace zembra::python
