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

/// The same while an exception is being handled: a second handler would end the process, a
/// destructor may keep the thread.
class SleepsUnlessBack {
 public:
  SleepsUnlessBack() = default;
  ~SleepsUnlessBack() {
    while (!back_) pause();
  }
  SleepsUnlessBack(const SleepsUnlessBack&) = delete;
  SleepsUnlessBack& operator=(const SleepsUnlessBack&) = delete;

  PyObject* back(PyObject* result) {
    back_ = true;
    return result;
  }

 private:
  bool back_ = false;
};

}  // namespace

py::object callPython(const py::object& callable, const py::tuple& arguments) {
  PyObject* result = nullptr;
  {
    SleepsUnlessBack thread;
    result = thread.back(PyObject_CallObject(callable.ptr(), arguments.ptr()));
  }
  return steal(result);
}

py::object importPython(const char* module) {
  PyObject* result = nullptr;
  {
    SleepsUnlessBack thread;
    result = thread.back(PyImport_ImportModule(module));
  }
  return steal(result);
}

InterpreterReleased::~InterpreterReleased() {
  takeOrSleep([this] { PyEval_RestoreThread(state_); });
}

InterpreterHeld::InterpreterHeld() : state_(takeOrSleep([] { return PyGILState_Ensure(); })) {}

}  // namespace zembra::python
