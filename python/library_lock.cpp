#include "python/library_lock.hpp"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "python/interpreter_lock.hpp"
#include "runtime/gateway_loader.hpp"

namespace zembra::python {
namespace {

/// A bound method without arguments that is kept for good. One that is written in C is called
/// as what it is: every call takes the lock, and half of that would be the way there.
class Method {
 public:
  Method() = default;
  Method(const py::object& object, const char* name)
      : bound_(steal(PyObject_GetAttrString(object.ptr(), name)).release().ptr()) {
    if (PyCFunction_CheckExact(bound_) && PyCFunction_GET_FLAGS(bound_) == METH_NOARGS) {
      function_ = PyCFunction_GET_FUNCTION(bound_);
    }
  }
  [[nodiscard]] PyObject* bound() const { return bound_; }
  /// A new reference, or null and a Python exception.
  [[nodiscard]] PyObject* call() const {
    return function_ != nullptr ? function_(PyCFunction_GET_SELF(bound_), nullptr)
                                : PyObject_CallNoArgs(bound_);
  }

 private:
  PyObject* bound_ = nullptr;
  PyCFunction function_ = nullptr;
};

/// h5py's lock, and whether the owner of this lock has that one, too.
struct PeerLock {
  Method enter;    // waits
  Method acquire;  // waits, or does not
  Method release;
  bool taken = false;

  [[nodiscard]] bool known() const { return enter.bound() != nullptr; }
};

/// Read and written with the interpreter's lock in hand, but for what is marked: an
/// uncontended lock costs a handful of plain instructions.
struct State {
  unsigned depth = 0;  // how often the owner has it; nobody has it at 0
  unsigned long owner = 0;
  unsigned waiting = 0;
  unsigned callers = 0;    // threads in a call from Python
  unsigned callbacks = 0;  // of the owner: what Python code is running now
  PeerLock peer;

  std::mutex handOver;  // guards `free`, which threads without the interpreter's lock watch
  std::condition_variable freed;
  bool free = false;

  std::atomic<unsigned long> ender = 0;  // the thread that ends the process; 0 before that
};

/// Never destroyed: threads may wait for it until the very end of the process.
State* const instance = std::make_unique<State>().release();

State& state() { return *instance; }

/// Calls within calls, of this thread.
thread_local unsigned callsWithin = 0;

bool isOwn(const State& lock) {
  return lock.depth > 0 && lock.owner == PyThread_get_thread_ident();
}

void takePeer(const PeerLock& peer) { steal(peer.enter.call()); }

/// Called where nothing can be raised any more; Python shows what goes wrong.
void giveBackPeer(const PeerLock& peer) {
  PyObject* const answer = peer.release.call();
  if (answer == nullptr) PyErr_WriteUnraisable(peer.release.bound());
  Py_XDECREF(answer);
}

/// Until somebody has given it back, which need not mean that nobody has it.
void wait(State& lock) {
  ++lock.waiting;
  {
    const InterpreterReleased released;
    std::unique_lock guard(lock.handOver);
    lock.freed.wait(guard, [&] { return lock.free; });
    lock.free = false;
  }
  --lock.waiting;
}

void wakeOne(State& lock) {
  const std::lock_guard guard(lock.handOver);
  lock.free = true;
  lock.freed.notify_one();
}

void own(State& lock) {
  lock.depth = 1;
  lock.owner = PyThread_get_thread_ident();
  lock.peer.taken = lock.peer.known();
}

// --- The end of the process --------------------------------------------------------------

/// How long a callback may take to come to its end. HDF5 itself always gets there, and may
/// be writing what must not be lost: it has all the time it needs.
using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kPatience{5};
constexpr std::chrono::milliseconds kPause{1};

[[noreturn]] void sleepUntilTheEnd() {
  const InterpreterReleased released;
  for (;;) pause();
}

bool tryPeer(const PeerLock& peer) {
  return !peer.known() ||
         PyObject_IsTrue(steal(PyObject_CallOneArg(peer.acquire.bound(), Py_False)).ptr()) == 1;
}

bool tryAcquire(State& lock) {
  if (!tryPeer(lock.peer)) return false;
  if (lock.depth == 0) {
    own(lock);
    return true;
  }
  if (lock.peer.known()) giveBackPeer(lock.peer);
  return false;
}

/// What is running may come to its end, what has not begun never will: from here on the
/// library belongs to the thread that ends the process.
void keepUntilTheEnd() {
  State& lock = state();
  lock.ender = PyThread_get_thread_ident();
  auto deadline = Clock::now() + kPatience;
  while (lock.callers > 0 || !tryAcquire(lock)) {
    const bool atWork = lock.depth > 0 && lock.callbacks == 0;
    if (atWork) deadline = Clock::now() + kPatience;
    const bool interrupted = PyErr_CheckSignals() != 0;
    if (interrupted || Clock::now() > deadline) {
      std::fputs("zembra: a thread is still inside HDF5: files that are open may be incomplete\n",
                 stderr);
      endWithoutLibrary();  // whose exit handler would wait for that thread for ever
      if (interrupted) throw py::error_already_set();
      return;
    }
    const InterpreterReleased released;
    std::this_thread::sleep_for(kPause);
  }
}

// --- h5py --------------------------------------------------------------------------------

/// Where h5py is loaded inside of a call, that call's thread has h5py's lock from now on.
void adoptPeer(const py::object& peer) {
  State& lock = state();
  lock.peer = {{peer, "__enter__"}, {peer, "acquire"}, {peer, "release"}};
  if (isOwn(lock)) {
    takePeer(lock.peer);
    lock.peer.taken = true;
  }
}

}  // namespace

bool mustLeaveLibrary() noexcept {
  const unsigned long ender = state().ender;
  return ender != 0 && ender != PyThread_get_thread_ident();
}

void LibraryLock::acquire() {
  State& lock = state();
  if (isOwn(lock)) {
    ++lock.depth;
    return;
  }
  // Always h5py's first: two locks taken in two orders are a deadlock. h5py may come while
  // this thread is waiting for the other.
  bool hasPeer = false;
  while (lock.depth > 0 || hasPeer != lock.peer.known()) {
    if (hasPeer != lock.peer.known()) {
      takePeer(lock.peer);
      hasPeer = true;
    } else {
      wait(lock);
    }
  }
  own(lock);
}

void LibraryLock::release() noexcept {
  State& lock = state();
  if (--lock.depth > 0) return;
  const bool taken = std::exchange(lock.peer.taken, false);
  if (lock.waiting > 0) wakeOne(lock);
  if (taken) giveBackPeer(lock.peer);
}

CallFromPython::CallFromPython() {
  if (callsWithin == 0) {
    if (mustLeaveLibrary()) sleepUntilTheEnd();
    ++state().callers;
  }
  ++callsWithin;
}

CallFromPython::~CallFromPython() {
  if (--callsWithin > 0) return;
  --state().callers;
  if (mustLeaveLibrary()) sleepUntilTheEnd();
}

LibraryLock::Callback::Callback() { ++state().callbacks; }
LibraryLock::Callback::~Callback() { --state().callbacks; }

void addLibraryLock(py::module_& module) {
  module.def("acquire_library", &LibraryLock::acquire,
             "Waits until no other thread uses HDF5, and keeps it from them.");
  module.def("release_library", &LibraryLock::release, "Undoes one acquire_library().");
  module.def("adopt_lock", adoptPeer, py::arg("peer"),
             "Another package's lock for HDF5, to be held wherever HDF5 is used.");
  module.def("keep_library", keepUntilTheEnd,
             "Ends all use of HDF5 by other threads: the process is about to end.");
}

}  // namespace zembra::python
