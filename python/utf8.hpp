// Text on both sides: Python's str and the host's UTF-8 bytes. Bytes that are no
// UTF-8 are surrogate escapes in a str, so that every text survives both ways.
#pragma once

#include <string_view>

#include "python/python.hpp"

namespace zembra::python {

py::object toStr(std::string_view bytes);

/// The bytes of a str, and the object that keeps them.
class Utf8 {
 public:
  Utf8(py::object owner, std::string_view bytes) : owner_(std::move(owner)), bytes_(bytes) {}
  [[nodiscard]] std::string_view view() const { return bytes_; }
  [[nodiscard]] const py::object& owner() const { return owner_; }

 private:
  py::object owner_;
  std::string_view bytes_;
};

Utf8 utf8(const py::object& text);

}  // namespace zembra::python
