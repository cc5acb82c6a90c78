#include "python/callable_to_host.hpp"

#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "python/held_object.hpp"
#include "python/interpreter_lock.hpp"
#include "python/interrupt.hpp"
#include "python/library_lock.hpp"
#include "python/number_to_host.hpp"
#include "python/numpy.hpp"
#include "python/python_exception.hpp"
#include "python/raise_in_python.hpp"
#include "python/unconvertible.hpp"
#include "runtime/call.hpp"

namespace zembra::python {
namespace {

using ToHost = Value (*)(PyObject*);
using FromHost = py::object (*)(const Value&);

/// What can be the status of a callback: one number.
bool isNumber(PyObject* answer) {
  return PyFloat_Check(answer) || PyLong_Check(answer) || PyArray_IsScalar(answer, Number) ||
         PyArray_IsScalar(answer, Bool);
}

/// Nothing is as good as 0.
Value statusToHost(PyObject* answer, ToHost toHost) {
  if (answer == Py_None) return makeDouble(0);
  if (PyLong_CheckExact(answer)) return makeDouble(exactDouble(answer));
  if (isNumber(answer)) return toHost(answer);
  throw Unconvertible(PyExc_TypeError, "a status is a number, not the " +
                                           std::string(Py_TYPE(answer)->tp_name) + " " +
                                           std::string(py::repr(answer)));
}

/// User data that come back as they went in are the array that they were; iterations are long.
Value carryBack(PyObject* userData, std::span<zbArray* const> inputs) {
  zbArray* const given = inputs.empty() ? nullptr : inputs.back();
  const bool same =
      given != nullptr && given->type == zbClass::Foreign && given->origin.get() == userData;
  return same ? share(given) : carry(userData);
}

class PythonCallable : public Callable {
 public:
  PythonCallable(PyObject* callable, ToHost toHost, FromHost fromHost)
      : callable_(callable, releaseObject), toHost_(toHost), fromHost_(fromHost) {
    Py_INCREF(callable);
  }

  std::vector<Value> call(int outputs, std::span<zbArray* const> inputs) override {
    if (mustLeaveLibrary()) throw std::runtime_error("the Python interpreter is ending");
    InterpreterReleased::cutShort();
    const InterpreterHeld held;
    const LibraryLock::Callback running;
    InterruptScope::throwIfNoted();
    try {
      py::tuple arguments(inputs.size());
      for (std::size_t i = 0; i < inputs.size(); ++i) {
        PyTuple_SET_ITEM(arguments.ptr(), static_cast<Py_ssize_t>(i),
                         fromHost_(share(inputs[i])).release().ptr());
      }
      const py::object answer =
          steal(PyObject_CallObject(static_cast<PyObject*>(callable_.get()), arguments.ptr()));
      return results(outputs, answer.ptr(), inputs);
    } catch (const Unconvertible& error) {
      PyErr_Format(error.type(), "what the callback returned: %s", error.what());
    } catch (...) {
      raiseInPython();
    }
    throw InterruptScope::takePending();
  }

 private:
  /// A status, or a status and the user data to go on with. A function that is asked
  /// for a status alone may return nothing: the iteration goes on.
  [[nodiscard]] std::vector<Value> results(int outputs, PyObject* answer,
                                           std::span<zbArray* const> inputs) const {
    if (outputs == 1) {
      if (answer == Py_None) return {};
      return {statusToHost(answer, toHost_)};
    }
    if (!(PyTuple_Check(answer) || PyList_Check(answer)) || PySequence_Fast_GET_SIZE(answer) != 2) {
      throw Unconvertible(PyExc_TypeError, "a pair (status, user_data) is needed, not " +
                                               std::string(py::repr(answer)));
    }
    std::vector<Value> results;
    results.reserve(2);
    results.push_back(statusToHost(borrow(PySequence_Fast_GET_ITEM(answer, 0)).ptr(), toHost_));
    results.push_back(carryBack(PySequence_Fast_GET_ITEM(answer, 1), inputs));
    return results;
  }

  std::shared_ptr<void> callable_;
  ToHost toHost_;
  FromHost fromHost_;
};

}  // namespace

Value fromCallable(PyObject* callable, ToHost toHost, FromHost fromHost) {
  return makeFunction(std::make_shared<PythonCallable>(callable, toHost, fromHost));
}

}  // namespace zembra::python
