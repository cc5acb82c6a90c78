// Failures on their way between Python and C++: a Python exception that travels
// through the gateway, a value that has no host form, and the Python exception
// that a failed call ends in.
#pragma once

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

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

/// A Python value that has no host form.
class Unconvertible : public std::runtime_error {
 public:
  Unconvertible(PyObject* type, const std::string& reason)
      : std::runtime_error(reason), type_(type) {}
  /// The built-in exception class that says it best.
  [[nodiscard]] PyObject* type() const { return type_; }

 private:
  PyObject* type_;
};

/// Inside a catch block: makes the C++ exception in flight Python's pending one.
void raiseInPython() noexcept;

/// From now on the host's warnings go through Python's `warnings`.
void routeWarnings();

}  // namespace zembra::python
