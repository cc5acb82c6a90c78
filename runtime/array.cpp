#include "runtime/array.hpp"

#include <array>
#include <cstdint>
#include <cstring>

#include "runtime/array_class.hpp"

namespace zembra {
namespace {

/// 1-by-1; takes the fields or properties over.
Value makeNamed(zbClass type, std::vector<std::pair<std::string, Value>>&& fields) {
  Value array(newArray(type));
  setShape(array.get(), std::array<std::size_t, 2>{1, 1});
  Composite& content = compositeOf(array.get());
  for (auto& [name, value] : fields) {
    content.names.push_back(std::move(name));
    content.values.push_back(value.release());
  }
  return array;
}

}  // namespace

Value share(zbArray* array) {
  if (array != nullptr) ++array->references;
  return Value(array);
}

Value makeOnBlock(zbClass type, std::span<const std::size_t> shape, void* data,
                  std::shared_ptr<void> owner) {
  Value array(newArray(type));
  setShape(array.get(), shape);
  array.get()->data = array.get()->elements == 0 ? nullptr : data;
  array.get()->owner = std::move(owner);
  return array;
}

Value makeNumeric(zbClass type, std::span<const std::size_t> shape, const void* data) {
  Value array = makeUninitialised(type, shape);
  const std::size_t bytes = array.get()->elements * elementSize(type);
  if (bytes > 0) std::memcpy(array.get()->data, data, bytes);
  return array;
}

Value makeUninitialised(zbClass type, std::span<const std::size_t> shape) {
  Value array(newArray(type));
  setShape(array.get(), shape);
  allocateData(array.get());
  return array;
}

Value makeDouble(double value) {
  zbArray* array = newArray(zbClass::Double);
  array->shortShape = {1, 1};
  array->elements = 1;
  array->data = array->small.data();
  array->naturalRank = 0;
  std::memcpy(array->data, &value, sizeof value);
  return Value(array);
}

Value makeLogical(bool value) {
  const auto byte = static_cast<std::uint8_t>(value);
  Value array = makeNumeric(zbClass::Logical, {1, 1}, &byte);
  array.get()->naturalRank = 0;
  return array;
}

Value makeText(std::string_view bytes) {
  return makeNumeric(zbClass::Char, {bytes.empty() ? 0U : 1U, bytes.size()}, bytes.data());
}

Value makeEmpty() { return Value(newArray(zbClass::Double)); }

Value makeRow(std::span<const double> values) {
  return makeNumeric(zbClass::Double, {1, values.size()}, values.data());
}

Value makeCell(std::span<const std::size_t> shape, std::vector<Value> values) {
  Value array(newArray(zbClass::Cell));
  setShape(array.get(), shape);
  Composite& content = compositeOf(array.get());
  content.values.reserve(array.get()->elements);
  values.resize(array.get()->elements);
  for (Value& value : values) content.values.push_back(value.release());
  return array;
}

Value makeStruct(std::vector<std::pair<std::string, Value>> fields) {
  return makeNamed(zbClass::Struct, std::move(fields));
}

Value makeObject(std::string_view name, std::vector<std::pair<std::string, Value>> properties) {
  Value array = makeNamed(zbClass::Object, std::move(properties));
  compositeOf(array.get()).className = name;
  return array;
}

Value makeFunction(std::shared_ptr<Callable> target) {
  Value array = makeNamed(zbClass::Function, {});
  compositeOf(array.get()).target = std::move(target);
  return array;
}

Value makeForeign(Origin origin) {
  Value array(newArray(zbClass::Foreign));
  setShape(array.get(), std::array<std::size_t, 2>{1, 1});
  array.get()->origin = std::move(origin);
  return array;
}

}  // namespace zembra
