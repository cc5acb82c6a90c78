#include "python/text_to_host.hpp"

#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "python/held_object.hpp"
#include "python/utf8.hpp"
#include "runtime/memory_block.hpp"
#include "runtime/packed_texts.hpp"

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

/// The UTF-8 of a str that has no NUL inside; null for anything else.
const char* textOf(PyObject* item) {
  if (PyUnicode_Check(item) == 0) return nullptr;
  Py_ssize_t size = 0;
  const char* const bytes = PyUnicode_AsUTF8AndSize(item, &size);
  if (bytes == nullptr) PyErr_Clear();  // surrogates
  const bool whole =
      bytes != nullptr && std::memchr(bytes, 0, static_cast<std::size_t>(size)) == nullptr;
  return whole ? bytes : nullptr;
}

struct Texts {
  std::shared_ptr<void> objects;
  std::shared_ptr<void> pointers;
};

}  // namespace

Value fromStr(PyObject* text) {
  const Utf8 encoded = utf8(borrow(text));
  // The str itself keeps its UTF-8 form, and the array keeps the str.
  if (encoded.owner().ptr() == text) return rowOn(encoded.view(), nullptr);
  return rowOn(encoded.view(), ownerOf(encoded.owner()));
}

Value fromBytes(PyObject* bytes) { return rowOn(bytesOf(bytes), nullptr); }

std::optional<Value> fromStrs(PyObject* sequence, std::span<const std::size_t> shape) {
  PyObject** const given = PySequence_Fast_ITEMS(sequence);
  if (PyUnicode_Check(given[0]) == 0) return std::nullopt;  // most lists are of other things
  py::object kept = steal(PySequence_Tuple(sequence));
  PyObject** const items = PySequence_Fast_ITEMS(kept.ptr());
  const auto count = static_cast<std::size_t>(PySequence_Fast_GET_SIZE(kept.ptr()));
  std::shared_ptr<void> block = allocateBlock(checkedProduct(count, sizeof(char*)));
  auto* const pointers = static_cast<const char**>(block.get());
  for (std::size_t i = 0; i < count; ++i) {
    pointers[i] = textOf(items[i]);
    if (pointers[i] == nullptr) return std::nullopt;
  }
  const auto texts =
      std::make_shared<const Texts>(Texts{ownerOf(std::move(kept)), std::move(block)});
  return makeTexts(shape, PackedTexts(texts, pointers));
}

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
