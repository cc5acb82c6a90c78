// The failure of a conversion between Python and host.
#pragma once

#include <stdexcept>
#include <string>

#include "python/python.hpp"

namespace zembra::python {

/// A Python value that has no host form, or an array that has no Python form.
class Unconvertible : public std::runtime_error {
 public:
  Unconvertible(PyObject* type, const std::string& reason)
      : std::runtime_error(reason), type_(type) {}
  /// The built-in exception class that says it best.
  [[nodiscard]] PyObject* type() const { return type_; }

 private:
  PyObject* type_;
};

}  // namespace zembra::python
