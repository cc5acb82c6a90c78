#include "runtime/array_node.hpp"

#include <algorithm>

#include "runtime/array_class.hpp"
#include "runtime/host_error.hpp"
#include "runtime/memory_block.hpp"

namespace zembra {
namespace {

/// Recycled nodes. An array lives on one thread, and so does this list: a host with
/// several interpreters needs no lock.
constexpr std::size_t kKept = 256;
thread_local zbArray* kept = nullptr;
thread_local std::size_t keptCount = 0;

zbArray* popKept() {
  zbArray* array = std::exchange(kept, kept->next);
  array->next = nullptr;
  --keptCount;
  return array;
}

/// Frees the list when the thread ends; what is dropped after that is not kept.
struct Drain {
  ~Drain() {
    while (kept != nullptr) std::default_delete<zbArray>()(popKept());
    keptCount = kKept;
  }
};

zbArray* newNode() {
  if (kept == nullptr) return std::make_unique<zbArray>().release();
  zbArray* array = popKept();
  array->references = 1;
  return array;
}

void keepNode(zbArray* array) {
  static thread_local const Drain drain;
  if (keptCount == kKept) {
    std::default_delete<zbArray>()(array);
    return;
  }
  array->next = std::exchange(kept, array);
  ++keptCount;
}

/// Gives up everything that the array owned. What newArray() sets may stay.
void clear(zbArray* array) {
  array->complex = false;
  array->sparse = false;
  array->naturalRank = -1;
  array->longShape.reset();
  array->data = nullptr;
  array->owner.reset();
  array->composite.reset();
  array->origin = Origin();
}

}  // namespace

zbArray* newArray(zbClass type) {
  zbArray* array = newNode();
  array->type = type;
  array->rank = 2;
  array->shortShape = {0, 0};
  array->elements = 0;
  return array;
}

void drop(zbArray* array) {
  if (array == nullptr || --array->references > 0) return;
  clear(array);
  keepNode(array);
}

void setShape(zbArray* array, std::span<const std::size_t> shape) {
  const std::optional<std::size_t> elements = countElements(shape);
  if (!elements) {
    raiseHostError("tooLarge", "An array of that shape has more elements than memory can hold.");
  }
  const std::size_t rank = shape.size();
  if (rank > 2) {
    auto dimensions = std::make_unique<std::size_t[]>(rank);
    std::copy(shape.begin(), shape.end(), dimensions.get());
    array->longShape = std::move(dimensions);
  } else {
    array->longShape.reset();
    array->shortShape = {rank > 0 ? shape[0] : 1, rank > 1 ? shape[1] : 1};
  }
  array->rank = std::max<std::size_t>(rank, 2);
  array->elements = *elements;
}

void allocateData(zbArray* array) {
  std::size_t bytes = 0;
  if (__builtin_mul_overflow(array->elements, elementSize(array->type), &bytes)) {
    raiseHostError("tooLarge", "The array " + describe(array) + " does not fit in memory.");
  }
  if (bytes <= array->small.size()) {
    array->data = bytes == 0 ? nullptr : array->small.data();
  } else {
    array->owner = allocateBlock(bytes);
    array->data = array->owner.get();
  }
}

Composite::~Composite() {
  for (zbArray* value : values) drop(value);
}

Composite& compositeOf(zbArray* array) {
  if (!array->composite) array->composite = std::make_unique<Composite>();
  return *array->composite;
}

std::string describe(const zbArray* array) {
  std::string text = zbGetClassName(array);
  for (std::size_t i = 0; i < array->rank; ++i) {
    text += (i == 0 ? " " : "-by-") + std::to_string(array->shape()[i]);
  }
  return text;
}

}  // namespace zembra
