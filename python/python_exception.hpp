// Python exceptions that travel through the gateway as C++ ones.
#pragma once

#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "python/python.hpp"

namespace zembra::python {

/// What was raised in Python, and its one-line report.
struct Raised {
  std::unique_ptr<PyObject, void (*)(PyObject*)> object;
  std::string report;
};

/// A Python exception as a C++ one: thrown by callbacks and by warnings that a
/// filter turned into errors. Its what() is the one-line report.
class PythonException : public std::exception {
 public:
  /// Takes over the exception that is pending.
  static PythonException pending();

  [[nodiscard]] const char* what() const noexcept override { return raised_->report.c_str(); }
  /// The exception object, traceback included.
  [[nodiscard]] PyObject* object() const { return raised_->object.get(); }
  /// Makes it Python's pending exception again.
  void raise() const;

 private:
  explicit PythonException(std::shared_ptr<const Raised> raised) : raised_(std::move(raised)) {}

  std::shared_ptr<const Raised> raised_;  // copying must not throw
};

/// Where the cause is a Python exception: makes it the __cause__ of the other, so that the
/// traceback shows what happened in the script's callback.
void setCause(const py::object& exception, const std::exception_ptr& cause);

}  // namespace zembra::python
