#include "python/failure_notes.hpp"

#include "python/package_classes.hpp"
#include "python/utf8.hpp"

namespace zembra::python {
namespace {

/// What conversions and the gateway itself raise. Others come out of callbacks and warnings
/// as they went in.
bool isAboutTheCall(PyObject* exception) {
  const py::tuple kinds = py::make_tuple(
      PackageClasses::get().error, py::handle(PyExc_TypeError), py::handle(PyExc_ValueError),
      py::handle(PyExc_OverflowError), py::handle(PyExc_MemoryError));
  return PyErr_GivenExceptionMatches(exception, kinds.ptr()) != 0;
}

void addTo(const py::object& exception, std::string_view function,
           std::span<PyObject* const> arguments, std::size_t refused) {
  if (!isAboutTheCall(exception.ptr())) return;
  py::tuple values(arguments.size());
  for (std::size_t i = 0; i < arguments.size(); ++i) values[i] = borrow(arguments[i]);
  py::module_::import("zembra._notes").attr("add")(exception, toStr(function), values, refused);
}

/// False, and a pending exception of its own, where an interrupt comes first; what else keeps
/// notes from being made must not hide the failure.
bool add(const py::object& exception, std::string_view function,
         std::span<PyObject* const> arguments, std::size_t refused) {
  try {
    addTo(exception, function, arguments, refused);
    return true;
  } catch (py::error_already_set& error) {
    error.restore();
  }
  if (PyErr_ExceptionMatches(PyExc_Exception) == 0) return false;
  PyErr_Clear();
  return true;
}

}  // namespace

void addNotes(std::string_view function, std::span<PyObject* const> arguments,
              std::size_t refused) noexcept {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  PyErr_NormalizeException(&type, &value, &traceback);
  bool goesOn = true;
  try {
    goesOn = add(borrow(value), function, arguments, refused);
  } catch (...) {
    PyErr_Clear();
  }
  if (goesOn) {
    PyErr_Restore(type, value, traceback);
    return;
  }
  Py_XDECREF(type);
  Py_XDECREF(value);
  Py_XDECREF(traceback);
}

}  // namespace zembra::python
