#include "python/python_exception.hpp"

#include <algorithm>

#include "python/held_object.hpp"
#include "python/utf8.hpp"

namespace zembra::python {
namespace {

/// "ValueError: no such station": one line that a C string can carry.
std::string oneLineReport(PyObject* exception) {
  std::string report = Py_TYPE(exception)->tp_name;
  if (PyObject* text = PyObject_Str(exception)) {
    const std::string message(utf8(py::reinterpret_steal<py::object>(text)).view());
    if (!message.empty()) report += ": " + message;
  } else {
    PyErr_Clear();  // an exception that cannot describe itself still has a name
  }
  std::replace_if(
      report.begin(), report.end(), [](char c) { return c == '\0' || c == '\n' || c == '\r'; },
      ' ');
  return report;
}

py::object pythonCause(const std::exception_ptr& cause) {
  if (!cause) return {};
  try {
    std::rethrow_exception(cause);
  } catch (const PythonException& exception) {
    return borrow(exception.object());
  } catch (...) {
    return {};
  }
}

}  // namespace

PythonException PythonException::pending() {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  PyErr_NormalizeException(&type, &value, &traceback);
  if (traceback != nullptr) PyException_SetTraceback(value, traceback);
  Py_XDECREF(type);
  Py_XDECREF(traceback);
  Raised raised{{value, [](PyObject* object) { releaseObject(object); }}, {}};
  raised.report = oneLineReport(value);
  return PythonException(std::make_shared<const Raised>(std::move(raised)));
}

void PythonException::raise() const {
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(object())), object());
}

void setCause(const py::object& exception, const std::exception_ptr& cause) {
  if (py::object reason = pythonCause(cause)) {
    PyException_SetCause(exception.ptr(), reason.release().ptr());
  }
}

}  // namespace zembra::python
