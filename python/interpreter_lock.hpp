// The interpreter's lock, given up while HDF5 works and taken back for whatever touches
// Python objects. A thread that asks for the lock of an interpreter that has ended never
// returns: CPython ends such a thread by unwinding its stack, which must not pass through
// HDF5, nor through a destructor.
#pragma once

#include "python/python.hpp"

namespace zembra::python {

/// Other Python threads run until the end of the scope, or until it is cut short.
class InterpreterReleased {
 public:
  InterpreterReleased();
  ~InterpreterReleased();
  InterpreterReleased(const InterpreterReleased&) = delete;
  InterpreterReleased& operator=(const InterpreterReleased&) = delete;

  /// Cuts this thread's innermost scope short. For callbacks: HDF5 comes back with the next
  /// one at once, and each of them is a chance for other threads.
  static void cutShort();

 private:
  void takeBack();

  InterpreterReleased* outer_;
  PyThreadState* state_;  // null where the lock is taken back
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
