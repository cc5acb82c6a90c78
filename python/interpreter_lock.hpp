// The interpreter's lock, given up while HDF5 works and taken back for whatever touches
// Python objects. A thread that asks for the lock of an interpreter that has ended never
// returns: CPython ends such a thread by unwinding its stack, which must not pass through
// HDF5, nor through a destructor.
#pragma once

#include "python/python.hpp"

namespace zembra::python {

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

/// What Python code gives that is run while C++ is raising something. It, too, asks for the
/// interpreter's lock every now and then; where the interpreter has ended the thread sleeps
/// here until the process ends.
py::object callPython(const py::object& callable, const py::tuple& arguments);
py::object importPython(const char* module);

}  // namespace zembra::python
