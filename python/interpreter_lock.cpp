#include "python/interpreter_lock.hpp"

namespace zembra::python {
InterpreterReleased::~InterpreterReleased() {
  orSleep([this] { PyEval_RestoreThread(state_); });
}

InterpreterHeld::InterpreterHeld() : state_(orSleep([] { return PyGILState_Ensure(); })) {}

}  // namespace zembra::python
