#include "python/to_host.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "python/array_like.hpp"
#include "python/callable_to_host.hpp"
#include "python/from_host.hpp"
#include "python/held_object.hpp"
#include "python/number_to_host.hpp"
#include "python/numpy.hpp"
#include "python/numpy_to_host.hpp"
#include "python/recursion_guard.hpp"
#include "python/sparse_matrix.hpp"
#include "python/text_to_host.hpp"
#include "python/utf8.hpp"
#include "runtime/array_class.hpp"
#include "runtime/packed_texts.hpp"

namespace zembra::python {
namespace {

using ToHost = Value (*)(PyObject*);

// --- Containers ---------------------------------------------------------------
// The items of a list are looked up anew at every step: converting one may run
// Python code that changes the list. What is in a container is converted by `inner`.

std::size_t lengthOf(PyObject* sequence) {
  return static_cast<std::size_t>(PySequence_Fast_GET_SIZE(sequence));
}

py::object itemOf(PyObject* sequence, std::size_t index) {
  return borrow(PySequence_Fast_GET_ITEM(sequence, static_cast<Py_ssize_t>(index)));
}

/// A row of the class, where every item is of it: `valueIn` gives an optional.
template <class Item, class ValueIn>
std::optional<Value> rowFrom(PyObject* sequence, zbClass type, ValueIn valueIn) {
  constexpr std::size_t kFew = 32;
  const std::size_t count = lengthOf(sequence);
  Item few[kFew];
  std::vector<Item> many(count > kFew ? count : 0);
  Item* const items = count > kFew ? many.data() : few;
  for (std::size_t i = 0; i < count; ++i) {
    if (i >= lengthOf(sequence)) return std::nullopt;
    const std::optional<Item> item = valueIn(itemOf(sequence, i).ptr());
    if (!item) return std::nullopt;
    items[i] = *item;
  }
  return makeNumeric(type, {1, count}, items);
}

std::optional<std::uint8_t> truthIn(PyObject* item) {
  if (PyBool_Check(item)) return item == Py_True;
  if (PyArray_IsScalar(item, Bool)) return PyArrayScalar_VAL(item, Bool) != 0;
  return std::nullopt;
}

bool isSequence(PyObject* object) { return PyList_Check(object) || PyTuple_Check(object); }

Value fromSequence(PyObject* sequence, ToHost inner) {
  if (lengthOf(sequence) == 0) return makeEmpty();
  if (auto texts = fromStrs(sequence, std::array{std::size_t{1}, lengthOf(sequence)})) {
    return *std::move(texts);
  }
  if (auto numbers = rowFrom<double>(sequence, zbClass::Double, numberIn)) {
    return *std::move(numbers);
  }
  if (auto truths = rowFrom<std::uint8_t>(sequence, zbClass::Logical, truthIn)) {
    return *std::move(truths);
  }
  const RecursionGuard guard;
  std::vector<Value> values;
  for (std::size_t i = 0; i < lengthOf(sequence); ++i) {
    values.push_back(inner(itemOf(sequence, i).ptr()));
  }
  const std::size_t count = values.size();
  return makeCell({1, count}, std::move(values));
}

/// A structure, where every key can be the name of a field: where all are str.
std::optional<Value> structFrom(PyObject* dict, ToHost inner) {
  const RecursionGuard guard;
  const py::object items = steal(PyDict_Items(dict));
  std::vector<std::pair<std::string, Value>> fields;
  for (std::size_t i = 0; i < lengthOf(items.ptr()); ++i) {
    PyObject* const item = PyList_GET_ITEM(items.ptr(), static_cast<Py_ssize_t>(i));
    PyObject* const key = PyTuple_GET_ITEM(item, 0);
    if (!PyUnicode_Check(key)) return std::nullopt;
    fields.emplace_back(utf8(borrow(key)).view(), inner(PyTuple_GET_ITEM(item, 1)));
  }
  return makeStruct(std::move(fields));
}

// --- Nested lists ---------------------------------------------------------------

/// Numbers of a list, or a matrix of such: of the class, and of no shape of their own.
std::size_t depthOf(const zbArray* numbers) {
  return numbers->naturalRank < 0 ? 1 : static_cast<std::size_t>(numbers->naturalRank);
}

bool stacksUp(const zbArray* item, const zbArray* first) {
  return item->type == first->type && depthOf(item) == depthOf(first) &&
         std::ranges::equal(std::span(item->shape(), item->rank),
                            std::span(first->shape(), first->rank));
}

/// The items of a list one behind the other, where they are lists of equally many numbers.
std::optional<Value> stacked(const zbArray* cell, PyObject* sequence) {
  if (cell->type != zbClass::Cell || packedTexts(cell) != nullptr ||
      cell->elements != lengthOf(sequence)) {
    return std::nullopt;
  }
  const std::vector<zbArray*>& items = cell->composite->values;
  const zbArray* const first = items[0];
  if (elementSize(first->type) == 0 || first->type == zbClass::Char) return std::nullopt;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const bool list = isSequence(itemOf(sequence, i).ptr());
    if (!list || items[i]->elements == 0 || !stacksUp(items[i], first)) return std::nullopt;
  }
  Shape shape(first->shape(), first->shape() + first->rank);
  if (first->naturalRank < 0) shape = {first->elements};
  shape.push_back(items.size());
  Value matrix = makeUninitialised(first->type, shape);
  auto* to = static_cast<std::byte*>(matrix.get()->data);
  for (const zbArray* item : items) {
    const auto* from = static_cast<const std::byte*>(item->data);
    to = std::copy_n(from, item->elements * elementSize(item->type), to);
  }
  matrix.get()->naturalRank = static_cast<std::int8_t>(depthOf(first) + 1);
  return matrix;
}

// --- Values with a mark or a class of their own ---------------------------------

/// The gateway takes no complex numbers; the real part stands for the value.
Value fromComplex(PyObject* number) {
  Value value = makeDouble(PyComplex_RealAsDouble(number));
  value.get()->complex = true;
  return value;
}

Value fromId(PyObject* id) {
  std::vector<std::pair<std::string, Value>> properties;
  properties.emplace_back("identifier", makeDouble(identifierOf(id)));
  return makeObject("H5ZB.id", std::move(properties));
}

// --- Everything ---------------------------------------------------------------

/// What the hot path need not ask about.
Value convertRare(PyObject* object, ToHost inner) {
  if (PyBytes_Check(object)) return fromBytes(object);
  if (PyDict_Check(object)) {
    if (std::optional<Value> fields = structFrom(object, inner)) return *std::move(fields);
    return makeForeign({});
  }
  if (PyComplex_Check(object)) return fromComplex(object);
  if (PyArray_IsScalar(object, Generic)) {
    const py::object array = steal(PyArray_FromScalar(object, nullptr));
    return fromArray(asArray(array), inner);
  }
  if (const py::object dense = denseOf(object)) return sparse(toHost(dense.ptr()));
  if (PyObject_HasAttrString(reinterpret_cast<PyObject*>(Py_TYPE(object)), "__fspath__") != 0) {
    return fromPath(object);
  }
  if (PyCallable_Check(object) != 0) return fromCallable(object, toHost, fromHost);
  return makeForeign({});
}

/// Cheap questions and frequent answers first.
Value convert(PyObject* object, ToHost inner) {
  if (PyFloat_CheckExact(object)) return makeDouble(PyFloat_AS_DOUBLE(object));
  if (PyUnicode_Check(object)) return fromStr(object);
  if (PyBool_Check(object)) return makeLogical(object == Py_True);
  if (PyLong_Check(object)) return makeDouble(exactDouble(object));
  if (isSequence(object)) return fromSequence(object, inner);
  if (object == Py_None) return makeEmpty();
  if (PyArray_Check(object)) return fromArray(reinterpret_cast<PyArrayObject*>(object), inner);
  if (PyFloat_Check(object)) return makeDouble(PyFloat_AS_DOUBLE(object));
  if (isId(object)) return fromId(object);
  return convertRare(object, inner);
}

Value convertData(PyObject* object) {
  if (isSequence(object)) {
    Value value = fromSequence(object, dataToHost);
    if (std::optional<Value> matrix = stacked(value.get(), object)) return *std::move(matrix);
    return value;
  }
  if (const py::object array = arrayLike(object)) return fromArray(asArray(array), dataToHost);
  return convert(object, dataToHost);
}

Value remembering(Value value, PyObject* object) {
  value.get()->origin = originOf(object);
  return value;
}

}  // namespace

Value toHost(PyObject* object) { return remembering(convert(object, toHost), object); }

Value dataToHost(PyObject* object) { return remembering(convertData(object), object); }

}  // namespace zembra::python
