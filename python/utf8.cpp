#include "python/utf8.hpp"

namespace zembra::python {

py::object toStr(std::string_view bytes) {
  return steal(
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape"));
}

Utf8 utf8(const py::object& text) {
  Py_ssize_t size = 0;
  if (const char* bytes = PyUnicode_AsUTF8AndSize(text.ptr(), &size)) {
    return {text, {bytes, static_cast<std::size_t>(size)}};
  }
  PyErr_Clear();
  py::object encoded = steal(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
  const std::string_view bytes(PyBytes_AS_STRING(encoded.ptr()),
                               static_cast<std::size_t>(PyBytes_GET_SIZE(encoded.ptr())));
  return {std::move(encoded), bytes};
}

}  // namespace zembra::python
