#include "runtime/array.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "runtime/array_pool.hpp"
#include "runtime/call_scope.hpp"
#include "runtime/host_error.hpp"

namespace zembra {
namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kHugeBlock = std::size_t{4} << 20;

constexpr const char* kClassNames[] = {"unknown",         "cell",   "struct", "logical", "char",
                                       "double",          "single", "int8",   "uint8",   "int16",
                                       "uint16",          "int32",  "uint32", "int64",   "uint64",
                                       "function_handle", "object", "foreign"};

Composite& composite(zbArray* array) {
  if (!array->composite) array->composite = std::make_unique<Composite>();
  return *array->composite;
}

/// Field `name` of element `element`, or the number of values when there is none.
std::size_t slot(const Composite& content, std::size_t element, std::string_view name) {
  const auto found = std::find(content.names.begin(), content.names.end(), name);
  if (found == content.names.end()) return content.values.size();
  return element * content.names.size() + static_cast<std::size_t>(found - content.names.begin());
}

void replace(zbArray*& place, zbArray* value) {
  if (value != nullptr) dismiss(value);
  drop(std::exchange(place, value));
}

// The fields are moved out one by one. NOLINTNEXTLINE(performance-unnecessary-value-param)
Value makeNamed(zbClass type, std::vector<std::pair<std::string, Value>> fields) {
  Value array(newArray(type));
  const std::size_t one[] = {1, 1};
  setShape(array.get(), 2, one);
  Composite& content = composite(array.get());
  for (auto& [name, value] : fields) {
    content.names.push_back(std::move(name));
    content.values.push_back(value.release());
  }
  return array;
}

}  // namespace

std::size_t elementSize(zbClass type) {
  switch (type) {
    case zbClass::Logical:
    case zbClass::Char:
    case zbClass::Int8:
    case zbClass::UInt8: return 1;
    case zbClass::Int16:
    case zbClass::UInt16: return 2;
    case zbClass::Single:
    case zbClass::Int32:
    case zbClass::UInt32: return 4;
    case zbClass::Double:
    case zbClass::Int64:
    case zbClass::UInt64: return 8;
    default: return 0;
  }
}

const char* className(zbClass type) { return kClassNames[static_cast<std::size_t>(type)]; }

std::string describe(const zbArray* array) {
  std::string text = zbGetClassName(array);
  for (std::size_t i = 0; i < array->rank; ++i) {
    text += (i == 0 ? " " : "-by-") + std::to_string(array->shape()[i]);
  }
  return text;
}

std::shared_ptr<void> allocateBlock(std::size_t bytes) {
  const bool huge = bytes >= kHugeBlock;
  const std::size_t alignment = huge ? kHugePage : kAlignment;
  if (bytes > std::numeric_limits<std::size_t>::max() - alignment) {
    raiseHostError("outOfMemory",
                   "An array of " + std::to_string(bytes) + " bytes does not fit in memory.");
  }
  const std::size_t rounded = (std::max<std::size_t>(bytes, 1) + alignment - 1) & ~(alignment - 1);
  void* memory = std::aligned_alloc(alignment, rounded);
  if (memory == nullptr) {
    raiseHostError("outOfMemory",
                   "An array of " + std::to_string(bytes) + " bytes does not fit in memory.");
  }
#ifdef MADV_HUGEPAGE
  if (huge) madvise(memory, rounded, MADV_HUGEPAGE);  // a wish; failure changes nothing
#endif
  return {memory, std::free};
}

Value makeOnBlock(zbClass type, std::span<const std::size_t> shape, void* data,
                  std::shared_ptr<void> owner) {
  Value array(newArray(type));
  setShape(array.get(), shape.size(), shape.data());
  array.get()->data = array.get()->elements == 0 ? nullptr : data;
  array.get()->owner = std::move(owner);
  return array;
}

Value makeNumeric(zbClass type, std::span<const std::size_t> shape, const void* data) {
  Value array(newArray(type));
  setShape(array.get(), shape.size(), shape.data());
  allocateData(array.get());
  const std::size_t bytes = array.get()->elements * elementSize(type);
  if (bytes > 0) std::memcpy(array.get()->data, data, bytes);
  return array;
}

Value makeDouble(double value) {
  zbArray* array = newArray(zbClass::Double);
  array->shortShape = {1, 1};
  array->elements = 1;
  array->data = array->scalar.data();
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
  setShape(array.get(), shape.size(), shape.data());
  Composite& content = composite(array.get());
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
  composite(array.get()).className = name;
  return array;
}

Value makeFunction(std::shared_ptr<Callable> target) {
  Value array = makeNamed(zbClass::Function, {});
  composite(array.get()).target = std::move(target);
  return array;
}

Value makeForeign(Origin origin) {
  Value array = makeNamed(zbClass::Foreign, {});
  array.get()->origin = std::move(origin);
  return array;
}

}  // namespace zembra

using zembra::Value;

namespace {

/// What an extension creates belongs to the running call.
zbArray* handOver(Value value) {
  zembra::enroll(value.get());
  return value.release();
}

}  // namespace

zbClass zbGetClass(const zbArray* array) { return array->type; }

const char* zbGetClassName(const zbArray* array) {
  if (array->type == zbClass::Object) return array->composite->className.c_str();
  return zembra::className(array->type);
}

bool zbIsNumeric(const zbArray* array) {
  return array->type >= zbClass::Double && array->type <= zbClass::UInt64;
}

bool zbIsComplex(const zbArray* array) { return array->complex; }
bool zbIsSparse(const zbArray* array) { return array->sparse; }
std::size_t zbGetNumberOfElements(const zbArray* array) { return array->elements; }
std::size_t zbGetNumberOfDimensions(const zbArray* array) { return array->rank; }
const std::size_t* zbGetDimensions(const zbArray* array) { return array->shape(); }

int zbSetDimensions(zbArray* array, std::size_t count, const std::size_t* dimensions) {
  std::size_t elements = 1;
  for (std::size_t i = 0; i < count; ++i) {
    if (__builtin_mul_overflow(elements, dimensions[i], &elements)) return 1;
  }
  if (elements != array->elements) return 1;
  zembra::setShape(array, count, dimensions);
  array->naturalRank = -1;
  return 0;
}

namespace {

template <class Number>
double first(const zbArray* array) {
  Number value;
  std::memcpy(&value, array->data, sizeof value);
  return static_cast<double>(value);
}

}  // namespace

double zbGetScalar(const zbArray* array) {
  if (array->elements == 0) return std::numeric_limits<double>::quiet_NaN();
  switch (array->type) {
    case zbClass::Double: return first<double>(array);
    case zbClass::Single: return first<float>(array);
    case zbClass::Logical: return first<std::uint8_t>(array) != 0 ? 1.0 : 0.0;
    case zbClass::Int8: return first<std::int8_t>(array);
    case zbClass::UInt8: return first<std::uint8_t>(array);
    case zbClass::Int16: return first<std::int16_t>(array);
    case zbClass::UInt16: return first<std::uint16_t>(array);
    case zbClass::Int32: return first<std::int32_t>(array);
    case zbClass::UInt32: return first<std::uint32_t>(array);
    case zbClass::Int64: return first<std::int64_t>(array);
    case zbClass::UInt64: return first<std::uint64_t>(array);
    default: return std::numeric_limits<double>::quiet_NaN();
  }
}

const void* zbGetData(const zbArray* array) { return array->data; }
void* zbGetWritableData(zbArray* array) { return array->data; }
std::size_t zbGetElementSize(const zbArray* array) { return zembra::elementSize(array->type); }

char* zbArrayToString(const zbArray* array) {
  if (array->type != zbClass::Char) {
    zembra::raiseHostError("notText",
                           "A " + zembra::describe(array) + " array stands where text is needed.");
  }
  const std::size_t size = array->elements;
  if (size > 0 && std::memchr(array->data, 0, size) != nullptr) {
    zembra::raiseHostError("embeddedNull",
                           "A text has a NUL character inside, which HDF5 cannot take.");
  }
  auto* text = static_cast<char*>(zbMalloc(size + 1));
  if (text == nullptr) throw std::bad_alloc();
  if (size > 0) std::memcpy(text, array->data, size);
  text[size] = '\0';
  return text;
}

const zbArray* zbGetCell(const zbArray* array, std::size_t index) {
  if (array->type != zbClass::Cell || index >= array->elements) return nullptr;
  return array->composite->values[index];
}

const zbArray* zbGetField(const zbArray* array, std::size_t index, const char* name) {
  if (array->type != zbClass::Struct || index >= array->elements) return nullptr;
  const std::size_t at = zembra::slot(*array->composite, index, name);
  return at < array->composite->values.size() ? array->composite->values[at] : nullptr;
}

const zbArray* zbGetProperty(const zbArray* array, std::size_t index, const char* name) {
  if (array->type != zbClass::Object || index >= array->elements) return nullptr;
  const std::size_t at = zembra::slot(*array->composite, index, name);
  return at < array->composite->values.size() ? array->composite->values[at] : nullptr;
}

zbArray* zbCreateDoubleScalar(double value) { return handOver(zembra::makeDouble(value)); }
zbArray* zbCreateLogicalScalar(bool value) { return handOver(zembra::makeLogical(value)); }

zbArray* zbCreateString(const char* text) {
  return handOver(zembra::makeText(text == nullptr ? "" : text));
}

zbArray* zbCreateUninitNumericArray(std::size_t count, const std::size_t* dimensions,
                                    zbClass type) {
  if (zembra::elementSize(type) == 0) {
    zembra::raiseHostError("badClass", std::string("No array of plain data has the class ") +
                                           zembra::className(type) + ".");
  }
  Value array(zembra::newArray(type));
  zembra::setShape(array.get(), count, dimensions);
  zembra::allocateData(array.get());
  return handOver(std::move(array));
}

zbArray* zbCreateNumericArray(std::size_t count, const std::size_t* dimensions, zbClass type) {
  zbArray* array = zbCreateUninitNumericArray(count, dimensions, type);
  if (array->data != nullptr) {
    std::memset(array->data, 0, array->elements * zembra::elementSize(type));
  }
  return array;
}

zbArray* zbCreateCellArray(std::size_t count, const std::size_t* dimensions) {
  return handOver(zembra::makeCell(zembra::Shape(dimensions, dimensions + count), {}));
}

zbArray* zbCreateStructArray(std::size_t elements, std::size_t fields, const char* const* names) {
  Value array(zembra::newArray(zbClass::Struct));
  const std::size_t shape[] = {elements == 0 ? std::size_t{0} : std::size_t{1}, elements};
  zembra::setShape(array.get(), 2, shape);
  zembra::Composite& content = zembra::composite(array.get());
  content.names.assign(names, names + fields);
  content.values.resize(fields * array.get()->elements);
  for (zbArray*& value : content.values) value = zembra::makeEmpty().release();
  return handOver(std::move(array));
}

void zbSetCell(zbArray* array, std::size_t index, zbArray* value) {
  if (array->type != zbClass::Cell || index >= array->elements) {
    zembra::raiseHostError("badIndex", "A cell array has no such element.");
  }
  zembra::replace(array->composite->values[index], value);
}

void zbSetField(zbArray* array, std::size_t index, const char* name, zbArray* value) {
  const std::size_t at = array->type == zbClass::Struct && index < array->elements
                             ? zembra::slot(*array->composite, index, name)
                             : SIZE_MAX;
  if (at >= (array->composite ? array->composite->values.size() : 0)) {
    zembra::raiseHostError("badField", std::string("The structure has no field ") + name + ".");
  }
  zembra::replace(array->composite->values[at], value);
}

zbArray* zbDuplicateArray(const zbArray* array) {
  Value copy(zembra::newArray(array->type));
  zembra::setShape(copy.get(), array->rank, array->shape());
  copy.get()->complex = array->complex;
  copy.get()->sparse = array->sparse;
  copy.get()->naturalRank = array->naturalRank;
  if (array->data != nullptr) {
    zembra::allocateData(copy.get());
    std::memcpy(copy.get()->data, array->data, array->elements * zbGetElementSize(array));
  }
  if (array->composite) {
    const zembra::Composite& from = *array->composite;
    zembra::Composite& content = zembra::composite(copy.get());
    content.names = from.names;
    content.className = from.className;
    content.target = from.target;
    content.exception = from.exception;
    for (const zbArray* value : from.values) {
      zbArray* duplicate = value == nullptr ? nullptr : zbDuplicateArray(value);
      if (duplicate != nullptr) zembra::dismiss(duplicate);
      content.values.push_back(duplicate);
    }
  }
  return handOver(std::move(copy));
}

void zbDestroyArray(zbArray* array) {
  if (array == nullptr) return;
  zembra::dismiss(array);
  zembra::drop(array);
}

// What HDF5 allocates by itself it frees with free: the two must be one allocator.
// NOLINTBEGIN(cppcoreguidelines-no-malloc)
void* zbMalloc(std::size_t size) { return std::malloc(size); }
void zbFree(void* memory) { std::free(memory); }
// NOLINTEND(cppcoreguidelines-no-malloc)
