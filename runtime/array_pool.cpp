#include "runtime/array_pool.hpp"

#include <algorithm>
#include <limits>
#include <new>

#include "runtime/host_error.hpp"

namespace zembra {
namespace {

/// Recycled nodes. Arrays live on the interpreter's thread; the list is per
/// thread so that a host with several interpreters needs no lock.
class Pool {
 public:
  ~Pool() {
    closed_ = true;
    while (first_ != nullptr) std::default_delete<zbArray>()(pop());
  }

  zbArray* get() {
    if (first_ == nullptr) return std::make_unique<zbArray>().release();
    zbArray* array = pop();
    array->references = 1;
    return array;
  }

  void put(zbArray* array) {
    if (closed_ || count_ == kKept) {
      std::default_delete<zbArray>()(array);
      return;
    }
    array->next = std::exchange(first_, array);
    ++count_;
  }

 private:
  static constexpr std::size_t kKept = 256;

  zbArray* pop() {
    zbArray* array = std::exchange(first_, first_->next);
    array->next = nullptr;
    --count_;
    return array;
  }

  zbArray* first_ = nullptr;
  std::size_t count_ = 0;
  bool closed_ = false;
};

thread_local Pool pool;

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
  zbArray* array = pool.get();
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
  pool.put(array);
}

Composite::~Composite() {
  for (zbArray* value : values) drop(value);
}

Value share(zbArray* array) {
  if (array != nullptr) ++array->references;
  return Value(array);
}

}  // namespace zembra
