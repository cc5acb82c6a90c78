// One lock for everything that HDF5 is asked to do. A thread-safe HDF5 has a mutex that a
// thread keeps while its callbacks run; were somebody to wait for that mutex with the
// interpreter's lock in hand, neither would ever go on. So nobody does: who waits for HDF5
// waits here, without the interpreter's lock. h5py has a lock of the same kind, which is
// taken first wherever h5py is loaded.
#pragma once

#include "python/python.hpp"

namespace zembra::python {

/// Held, by one thread at a time and as often as it likes, until the end of the scope. The
/// interpreter's lock is held before and after, and given up while others have this one.
class LibraryLock {
 public:
  LibraryLock() { acquire(); }
  ~LibraryLock() { release(); }
  LibraryLock(const LibraryLock&) = delete;
  LibraryLock& operator=(const LibraryLock&) = delete;

  static void acquire();
  static void release() noexcept;

  /// Python code that the owner runs for HDF5, to the end of the scope.
  class Callback {
   public:
    Callback();
    ~Callback();
    Callback(const Callback&) = delete;
    Callback& operator=(const Callback&) = delete;
  };
};

/// A call of a function, from its arguments to its results, whatever Python code these run.
/// CPython ends threads of its own by unwinding their stacks, which must not pass through
/// here: once the process is about to end, no other thread begins a call or returns from one.
class CallFromPython {
 public:
  CallFromPython();
  ~CallFromPython();
  CallFromPython(const CallFromPython&) = delete;
  CallFromPython& operator=(const CallFromPython&) = delete;
};

/// Whether the process is about to end, and this thread has to leave HDF5 to the one that
/// ends it: its callbacks fail, and it does not come back from the call.
bool mustLeaveLibrary() noexcept;

/// Python's view of the lock: functions for `module`.
void addLibraryLock(py::module_& module);

}  // namespace zembra::python
