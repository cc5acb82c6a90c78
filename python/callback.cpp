#include "python/callback.hpp"

#include <algorithm>
#include <memory>
#include <span>
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
  static std::vector<Value> results(int outputs, PyObject* answer) {
    if (outputs < 2 || !(PyTuple_Check(answer) || PyList_Check(answer)) ||
        PySequence_Fast_GET_SIZE(answer) == 0) {
      return {toHost(answer)};
    }
    std::vector<Value> values{toHost(borrow(PySequence_Fast_GET_ITEM(answer, 0)).ptr())};
    for (Py_ssize_t i = 1; i < PySequence_Fast_GET_SIZE(answer) && i < outputs; ++i) {
      values.push_back(carry(PySequence_Fast_GET_ITEM(answer, i)));
    }
    return values;
  }

  std::shared_ptr<void> callable_;
};

}  // namespace

Value makeCallback(PyObject* callable) {
  return makeFunction(std::make_shared<PythonCallable>(callable));
}

}  // namespace zembra::python
