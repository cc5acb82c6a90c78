#include "python/callback.hpp"

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "python/errors.hpp"
#include "python/from_host.hpp"
#include "python/to_host.hpp"
#include "runtime/call.hpp"

namespace zembra::python {
namespace {

class PythonCallable : public Callable {
 public:
  explicit PythonCallable(PyObject* callable) : callable_(callable, releaseObject) {
    Py_INCREF(callable);
  }

  std::vector<Value> call(int outputs, std::span<zbArray* const> inputs) override {
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
    throw PythonException::pending();
  }

 private:
  /// A status, or a status and the user data to go on with. A function that is asked
  /// for a status alone may return nothing: the iteration goes on.
  static std::vector<Value> results(int outputs, PyObject* answer) {
    if (outputs == 1) {
      if (answer == Py_None) return {};
      return {toHost(answer)};
    }
    if (!(PyTuple_Check(answer) || PyList_Check(answer)) || PySequence_Fast_GET_SIZE(answer) != 2) {
      throw Unconvertible(PyExc_TypeError, "a pair (status, user_data) is needed, not " +
                                               std::string(py::repr(answer)));
    }
    return {toHost(borrow(PySequence_Fast_GET_ITEM(answer, 0)).ptr()),
            carry(PySequence_Fast_GET_ITEM(answer, 1))};
  }

  std::shared_ptr<void> callable_;
};

}  // namespace

Value makeCallback(PyObject* callable) {
  return makeFunction(std::make_shared<PythonCallable>(callable));
}

}  // namespace zembra::python
