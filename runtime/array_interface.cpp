// The arrays as extensions see them: host/array.hpp on the reference host's arrays.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "host/numeric_class.hpp"
#include "runtime/array.hpp"
#include "runtime/array_class.hpp"
#include "runtime/call_scope.hpp"
#include "runtime/host_error.hpp"
#include "runtime/packed_texts.hpp"

using zembra::Composite;
using zembra::Value;

namespace {

/// What an extension creates belongs to the running call.
zbArray* handOver(Value value) {
  zembra::enroll(value.get());
  return value.release();
}

/// Where an element of a structure or object keeps the field or property; null when the
/// array is not of that class or has no such element or name.
zbArray** find(const zbArray* array, zbClass type, std::size_t element, std::string_view name) {
  if (array->type != type || element >= array->elements) return nullptr;
  Composite& content = *array->composite;
  const auto found = std::find(content.names.begin(), content.names.end(), name);
  if (found == content.names.end()) return nullptr;
  const auto position = static_cast<std::size_t>(found - content.names.begin());
  return &content.values[element * content.names.size() + position];
}

/// Takes the value over, from the running call too, and gives up what stood there.
void replace(zbArray*& place, zbArray* value) {
  if (value != nullptr) zembra::dismiss(value);
  zembra::drop(std::exchange(place, value));
}

Value copyOf(const zbArray* array);

void copyComposite(const Composite& from, Composite& to) {
  to.names = from.names;
  to.className = from.className;
  to.texts = from.texts;
  to.target = from.target;
  to.exception = from.exception;
  to.values.reserve(from.values.size());
  for (const zbArray* value : from.values) {
    to.values.push_back(value == nullptr ? nullptr : copyOf(value).release());
  }
}

Value copyOf(const zbArray* array) {
  Value copy(zembra::newArray(array->type));
  zembra::setShape(copy.get(), {array->shape(), array->rank});
  copy.get()->complex = array->complex;
  copy.get()->sparse = array->sparse;
  copy.get()->naturalRank = array->naturalRank;
  if (array->data != nullptr) {
    zembra::allocateData(copy.get());
    std::memcpy(copy.get()->data, array->data, array->elements * zbGetElementSize(array));
  }
  if (array->composite) copyComposite(*array->composite, zembra::compositeOf(copy.get()));
  return copy;
}

}  // namespace

// --- What an array is -----------------------------------------------------------

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
  const std::span<const std::size_t> shape(dimensions, count);
  if (zembra::countElements(shape) != array->elements) return 1;
  zembra::setShape(array, shape);
  array->naturalRank = -1;
  return 0;
}

// --- What it holds --------------------------------------------------------------

double zbGetScalar(const zbArray* array) {
  const auto none = [] { return std::numeric_limits<double>::quiet_NaN(); };
  if (array->elements == 0) return none();
  const auto first = [&](auto number) {
    std::memcpy(&number, array->data, sizeof number);
    return static_cast<double>(number);
  };
  const double value = Zembra::withNumericType(array->type, first, none);
  return array->type == zbClass::Logical && value != 0 ? 1.0 : value;
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
  return zembra::itemOf(array, index);
}

const zbArray* zbGetField(const zbArray* array, std::size_t index, const char* name) {
  zbArray** const field = find(array, zbClass::Struct, index, name);
  return field == nullptr ? nullptr : *field;
}

const zbArray* zbGetProperty(const zbArray* array, std::size_t index, const char* name) {
  zbArray** const property = find(array, zbClass::Object, index, name);
  return property == nullptr ? nullptr : *property;
}

// --- Making arrays --------------------------------------------------------------

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
  return handOver(zembra::makeUninitialised(type, std::span(dimensions, count)));
}

zbArray* zbCreateNumericArray(std::size_t count, const std::size_t* dimensions, zbClass type) {
  zbArray* array = zbCreateUninitNumericArray(count, dimensions, type);
  if (array->data != nullptr) {
    std::memset(array->data, 0, array->elements * zembra::elementSize(type));
  }
  return array;
}

zbArray* zbCreateCellArray(std::size_t count, const std::size_t* dimensions) {
  return handOver(zembra::makeCell(std::span(dimensions, count), {}));
}

zbArray* zbCreateStructArray(std::size_t elements, std::size_t fields, const char* const* names) {
  Value array(zembra::newArray(zbClass::Struct));
  zembra::setShape(array.get(), std::array{std::min<std::size_t>(elements, 1), elements});
  Composite& content = zembra::compositeOf(array.get());
  content.names.assign(names, names + fields);
  content.values.resize(fields * array.get()->elements);
  for (zbArray*& value : content.values) value = zembra::makeEmpty().release();
  return handOver(std::move(array));
}

void zbSetCell(zbArray* array, std::size_t index, zbArray* value) {
  if (array->type != zbClass::Cell || index >= array->elements) {
    zembra::raiseHostError("badIndex", "A cell array has no such element.");
  }
  if (array->composite->texts) zembra::unpack(array);
  replace(array->composite->values[index], value);
}

void zbSetField(zbArray* array, std::size_t index, const char* name, zbArray* value) {
  zbArray** const field = find(array, zbClass::Struct, index, name);
  if (field == nullptr) {
    zembra::raiseHostError("badField", std::string("The structure has no field ") + name + ".");
  }
  replace(*field, value);
}

zbArray* zbDuplicateArray(const zbArray* array) { return handOver(copyOf(array)); }

void zbDestroyArray(zbArray* array) {
  // What a call around this one created is that call's to destroy.
  if (array == nullptr || zembra::isOfOuterCall(array)) return;
  zembra::dismiss(array);
  zembra::drop(array);
}

// --- Memory ---------------------------------------------------------------------

// What HDF5 allocates by itself it frees with free: the two must be one allocator.
// NOLINTBEGIN(cppcoreguidelines-no-malloc)
void* zbMalloc(std::size_t size) { return std::malloc(size); }
void zbFree(void* memory) { std::free(memory); }
// NOLINTEND(cppcoreguidelines-no-malloc)
