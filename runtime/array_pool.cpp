#include "runtime/array_pool.hpp"

#include <algorithm>
#include <limits>
#include <new>

#include "runtime/host_error.hpp"

namespace zembra {
namespace {

/// Recycled nodes. Arrays live on the interpreter's thread; the list is per
/// thread so that a host with several interpreters needs no lock.
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

/// Back to the state of a fresh node; gives up everything that it owned.
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

void setShape(zbArray* array, std::size_t rank, const std::size_t* dimensions) {
  std::size_t elements = 1;
  for (std::size_t i = 0; i < rank; ++i) {
    if (__builtin_mul_overflow(elements, dimensions[i], &elements)) {
      raiseHostError("tooLarge", "An array of that shape has more elements than memory can hold.");
    }
  }
  const std::size_t kept = std::max<std::size_t>(rank, 2);
  if (kept > 2) {
    auto shape = std::make_unique<std::size_t[]>(kept);
    std::copy_n(dimensions, rank, shape.get());
    array->longShape = std::move(shape);
  } else {
    array->longShape.reset();
    array->shortShape = {rank > 0 ? dimensions[0] : 1, rank > 1 ? dimensions[1] : 1};
  }
  array->rank = kept;
  array->elements = elements;
}

void allocateData(zbArray* array) {
  std::size_t bytes = 0;
  if (__builtin_mul_overflow(array->elements, elementSize(array->type), &bytes)) {
    raiseHostError("tooLarge", "The array " + describe(array) + " does not fit in memory.");
  }
  if (bytes <= array->scalar.size()) {
    array->data = bytes == 0 ? nullptr : array->scalar.data();
  } else {
    array->owner = allocateBlock(bytes);
    array->data = array->owner.get();
  }
}

void drop(zbArray* array) {
  if (array == nullptr || --array->references > 0) return;
  clear(array);
  keepNode(array);
}

Composite::~Composite() {
  for (zbArray* value : values) drop(value);
}

Value share(zbArray* array) {
  if (array != nullptr) ++array->references;
  return Value(array);
}

}  // namespace zembra
