#include "python/interpreter_lock.hpp"

#include <unistd.h>

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

}  // namespace

InterpreterReleased::~InterpreterReleased() {
  takeOrSleep([this] { PyEval_RestoreThread(state_); });
}

InterpreterHeld::InterpreterHeld() : state_(takeOrSleep([] { return PyGILState_Ensure(); })) {}

}  // namespace zembra::python
