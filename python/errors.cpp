#include "python/errors.hpp"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>
#include <variant>

#include "python/package.hpp"
#include "python/text.hpp"
#include "runtime/host_error.hpp"

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

/// Sets __cause__; the traceback then shows what happened in the script's callback.
void chain(const py::object& exception, const std::exception_ptr& cause) {
  if (py::object reason = pythonCause(cause)) {
    PyException_SetCause(exception.ptr(), reason.release().ptr());
  }
}

py::object toPython(const Parameter& parameter) {
  if (const auto* text = std::get_if<std::string>(&parameter)) return toStr(*text);
  return py::int_(std::get<std::int64_t>(parameter));
}

void raiseHost(const HostError& error) {
  const PackageClasses& package = PackageClasses::get();
  py::list parameters;
  for (const Parameter& parameter : error->parameters) parameters.append(toPython(parameter));
  py::list stack;
  for (const ErrorRecord& record : error->stack) {
    stack.append(package.errorRecord(toStr(record.function), toStr(record.file), record.line,
                                     toStr(record.description), toStr(record.major),
                                     toStr(record.minor)));
  }
  const py::object& type = error->libraryFailure ? package.libraryError : package.error;
  const py::object exception =
      type(toStr(error->text), toStr(error->identifier), toStr(error->key), parameters, stack);
  chain(exception, error->cause);
  PyErr_SetObject(type.ptr(), exception.ptr());
}

void raiseInFlight() {
  try {
    throw;
  } catch (const HostError& error) {
    raiseHost(error);
  } catch (const PythonException& exception) {
    exception.raise();
  } catch (py::error_already_set& error) {
    error.restore();
  } catch (const py::builtin_exception& error) {
    error.set_error();
  } catch (const Unconvertible& error) {
    PyErr_SetString(error.type(), error.what());
  } catch (const std::bad_alloc&) {
    PyErr_NoMemory();
  } catch (const std::exception& error) {
    PyErr_SetString(PyExc_RuntimeError, error.what());
  } catch (...) {
    PyErr_SetString(PyExc_RuntimeError, "The gateway failed in a way that it cannot describe.");
  }
}

void warn(const Warning& warning) {
  try {
    const py::object issued =
        PackageClasses::get().gatewayWarning(toStr(warning.text), toStr(warning.identifier));
    chain(issued, warning.cause);
    // Level 1 is the innermost Python frame: the line that called the gateway.
    py::module_::import("warnings").attr("warn")(issued, py::arg("stacklevel") = 1);
  } catch (py::error_already_set& error) {
    error.restore();
    throw PythonException::pending();
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

void raiseInPython() noexcept {
  try {
    raiseInFlight();
  } catch (py::error_already_set& error) {  // describing the failure failed
    error.restore();
  } catch (...) {
    PyErr_NoMemory();
  }
}

void routeWarnings() { setWarningHandler(warn); }

}  // namespace zembra::python
