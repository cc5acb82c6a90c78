#include "python/text_to_host.hpp"

#include <memory>
#include <string_view>
#include <utility>

#include "python/held_object.hpp"
#include "python/utf8.hpp"

namespace zembra::python {
namespace {

/// A char row on the bytes themselves. Without an owner, whoever calls keeps them alive.
Value rowOn(std::string_view bytes, std::shared_ptr<void> owner) {
  void* data = const_cast<char*>(bytes.data());  // arguments are never written to
  Value row =
      makeOnBlock(zbClass::Char, {bytes.empty() ? 0U : 1U, bytes.size()}, data, std::move(owner));
  row.get()->naturalRank = 1;  // one text, never one for each character
  return row;
}

std::string_view bytesOf(PyObject* bytes) {
  return {PyBytes_AS_STRING(bytes), static_cast<std::size_t>(PyBytes_GET_SIZE(bytes))};
}

}  // namespace

Value fromStr(PyObject* text) {
  const Utf8 encoded = utf8(borrow(text));
  // The str itself keeps its UTF-8 form, and the array keeps the str.
  if (encoded.owner().ptr() == text) return rowOn(encoded.view(), nullptr);
  return rowOn(encoded.view(), ownerOf(encoded.owner()));
}

Value fromBytes(PyObject* bytes) { return rowOn(bytesOf(bytes), nullptr); }

Value fromPath(PyObject* path) {
  py::object text = steal(PyOS_FSPath(path));
  if (PyUnicode_Check(text.ptr())) {
    const Utf8 encoded = utf8(text);
    return rowOn(encoded.view(), ownerOf(encoded.owner()));
  }
  const std::string_view bytes = bytesOf(text.ptr());
  return rowOn(bytes, ownerOf(std::move(text)));
}

}  // namespace zembra::python
