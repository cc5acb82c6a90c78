// The interpreter's lock, given up while HDF5 works and taken back for whatever touches
// Python objects. A thread that asks for the lock of an interpreter that has ended never
// returns: CPython ends such a thread by unwinding its stack, which must not pass through
// HDF5, nor through a destructor.
#pragma once

#include <unistd.h>

#include "python/python.hpp"

namespace zembra::python {

/// What `action` gives, which may ask for the interpreter's lock: by running Python code, for
/// instance. Where the interpreter has ended it sleeps until the process ends; in a handler,
/// so that the unwinding stops here. `action` calls C alone: it throws nothing and destroys
/// nothing.
template <class Action>
auto orSleep(Action action) noexcept {
  try {
    return action();
  } catch (...) {
    for (;;) pause();
  }
}

/// The result of Python code that is run while C++ stands below it on the stack.
inline py::object callPython(const py::object& callable, const py::tuple& arguments) {
  return steal(orSleep([&] { return PyObject_CallObject(callable.ptr(), arguments.ptr()); }));
}

/// Other Python threads run until the end of the scope.
class InterpreterReleased {
 public:
  InterpreterReleased() : state_(PyEval_SaveThread()) {}
  ~InterpreterReleased();
  InterpreterReleased(const InterpreterReleased&) = delete;
  InterpreterReleased& operator=(const InterpreterReleased&) = delete;

 private:
  PyThreadState* state_;
};

/// Python objects may be touched until the end of the scope, on whichever thread.
class InterpreterHeld {
 public:
  InterpreterHeld();
  ~InterpreterHeld() { PyGILState_Release(state_); }
  InterpreterHeld(const InterpreterHeld&) = delete;
  InterpreterHeld& operator=(const InterpreterHeld&) = delete;

 private:
  PyGILState_STATE state_;
};

}  // namespace zembra::python
