#include "python/interpreter_lock.hpp"

#include <unistd.h>

#include <utility>

namespace zembra::python {
namespace {

/// Until the process ends. In a handler, so that the unwinding stops here.
template <class Take>
auto takeOrSleep(Take take) noexcept {
  try {
    return take();
  } catch (...) {
    for (;;) pause();
  }
}

thread_local InterpreterReleased* innermost = nullptr;

}  // namespace

InterpreterReleased::InterpreterReleased()
    : outer_(std::exchange(innermost, this)), state_(PyEval_SaveThread()) {}

InterpreterReleased::~InterpreterReleased() {
  takeBack();
  innermost = outer_;
}

void InterpreterReleased::cutShort() {
  if (innermost != nullptr) innermost->takeBack();
}

void InterpreterReleased::takeBack() {
  if (state_ == nullptr) return;
  takeOrSleep([this] { PyEval_RestoreThread(state_); });
  state_ = nullptr;
}

InterpreterHeld::InterpreterHeld() : state_(takeOrSleep([] { return PyGILState_Ensure(); })) {}

}  // namespace zembra::python
