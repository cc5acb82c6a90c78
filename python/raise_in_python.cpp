#include "python/raise_in_python.hpp"

#include <new>
#include <variant>

#include "python/interpreter_lock.hpp"
#include "python/package_classes.hpp"
#include "python/python_exception.hpp"
#include "python/unconvertible.hpp"
#include "python/utf8.hpp"
#include "runtime/host_error.hpp"

namespace zembra::python {
namespace {

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
    stack.append(callPython(
        package.errorRecord,
        py::make_tuple(toStr(record.function), toStr(record.file), record.line,
                       toStr(record.description), toStr(record.major), toStr(record.minor))));
  }
  const py::object& make = error->libraryFailure ? package.libraryError : package.error;
  const py::object exception =
      callPython(make, py::make_tuple(toStr(error->text), toStr(error->identifier),
                                      toStr(error->key), parameters, stack));
  setCause(exception, error->cause);
  if (!error->libraryFailure && !error->libraryReason.empty()) {
    exception.attr("add_note")(toStr("HDF5 said: " + error->libraryReason));
  }
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
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

}  // namespace

void raiseInPython() noexcept {
  try {
    raiseInFlight();
  } catch (py::error_already_set& error) {  // describing the failure failed
    error.restore();
  } catch (...) {
    PyErr_NoMemory();
  }
}

}  // namespace zembra::python
