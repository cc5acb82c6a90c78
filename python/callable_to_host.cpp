#include "python/callable_to_host.hpp"

#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "python/from_host.hpp"
#include "python/held_object.hpp"
#include "python/interpreter_lock.hpp"
#include "python/interrupt.hpp"
#include "python/library_lock.hpp"
#include "python/python_exception.hpp"
#include "python/raise_in_python.hpp"
#include "python/unconvertible.hpp"
#include "runtime/call.hpp"

namespace zembra::python {
namespace {

using ToHost = Value (*)(PyObject*);

class PythonCallable : public Callable {
 public:
  PythonCallable(PyObject* callable, ToHost toHost)
      : callable_(callable, releaseObject), toHost_(toHost) {
    Py_INCREF(callable);
  }

  std::vector<Value> call(int outputs, std::span<zbArray* const> inputs) override {
    if (mustLeaveLibrary()) throw std::runtime_error("the Python interpreter is ending");
    const InterpreterHeld held;
    const LibraryLock::Callback running;
    InterruptScope::throwIfNoted();
    try {
      py::tuple arguments(inputs.size());
      for (std::size_t i = 0; i < inputs.size(); ++i) arguments[i] = fromHost(share(inputs[i]));
      const py::object answer =
          steal(PyObject_CallObject(static_cast<PyObject*>(callable_.get()), arguments.ptr()));
      return results(outputs, answer.ptr());
    } catch (const Unconvertible& error) {
      PyErr_Format(error.type(), "what the callback returned: %s", error.what());
    } catch (...) {
      raiseInPython();
    }
    const PythonException exception = PythonException::pending();
    InterruptScope::note(exception);
    throw exception;
  }

 private:
  /// A status, or a status and the user data to go on with. A function that is asked
  /// for a status alone may return nothing: the iteration goes on.
  [[nodiscard]] std::vector<Value> results(int outputs, PyObject* answer) const {
    if (outputs == 1) {
      if (answer == Py_None) return {};
      return {toHost_(answer)};
    }
    if (!(PyTuple_Check(answer) || PyList_Check(answer)) || PySequence_Fast_GET_SIZE(answer) != 2) {
      throw Unconvertible(PyExc_TypeError, "a pair (status, user_data) is needed, not " +
                                               std::string(py::repr(answer)));
    }
    return {toHost_(borrow(PySequence_Fast_GET_ITEM(answer, 0)).ptr()),
            carry(PySequence_Fast_GET_ITEM(answer, 1))};
  }

  std::shared_ptr<void> callable_;
  ToHost toHost_;
};

}  // namespace

Value fromCallable(PyObject* callable, ToHost toHost) {
  return makeFunction(std::make_shared<PythonCallable>(callable, toHost));
}

}  // namespace zembra::python
