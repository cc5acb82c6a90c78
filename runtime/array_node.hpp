// What an array is inside, and where arrays come from and go to. A scalar is one
// recycled node and no allocation: creating and destroying scalars is the hottest
// path there is.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/array.hpp"

namespace zembra {

class Callable;
class CallScope;

/// The embedder's object that an array was made from or merely carries: the embedder
/// gets back the very object that it passed in. Owned: released exactly once.
class Origin {
 public:
  Origin() = default;
  Origin(void* object, void (*release)(void*)) : object_(object), release_(release) {}
  Origin(Origin&& other) noexcept
      : object_(std::exchange(other.object_, nullptr)), release_(other.release_) {}
  Origin& operator=(Origin&& other) noexcept {
    std::swap(object_, other.object_);
    std::swap(release_, other.release_);
    return *this;
  }
  ~Origin() {
    if (object_ != nullptr) release_(object_);
  }
  [[nodiscard]] void* get() const { return object_; }

 private:
  void* object_ = nullptr;
  void (*release_)(void*) = nullptr;
};

/// What cells, structures, objects and function handles hold beyond plain data.
struct Composite {
  std::vector<std::string> names;              // field or property names
  std::vector<zbArray*> values;                // owned; cells, or fields of element 0, 1, ...
  std::shared_ptr<const char* const[]> texts;  // what the values of a cell are made of
  std::string className;                       // objects
  std::shared_ptr<Callable> target;            // function handles
  std::exception_ptr exception;                // exception objects
  ~Composite();
};

}  // namespace zembra

struct zbArray {
  std::uint32_t references = 1;
  zbClass type = zbClass::Unknown;
  bool complex = false;
  bool sparse = false;
  /// Rank of the HDF5 extent that the array came from: host arrays have two dimensions
  /// at least, so a scalar, a vector and a 1-by-n matrix look alike otherwise. 0 for
  /// scalars made as such; -1 where nothing is known.
  std::int8_t naturalRank = -1;

  std::size_t rank = 2;
  std::array<std::size_t, 2> shortShape{};
  std::unique_ptr<std::size_t[]> longShape;  // in place of shortShape from rank 3 on
  std::size_t elements = 0;

  void* data = nullptr;                           // numeric, logical, char
  alignas(16) std::array<std::byte, 16> small{};  // where data points when this is enough
  std::shared_ptr<void> owner;                    // of data that lie elsewhere
  std::unique_ptr<zembra::Composite> composite;
  zembra::Origin origin;

  // The call that reclaims the array unless it is taken over or destroyed first.
  zembra::CallScope* scope = nullptr;
  zbArray* previous = nullptr;
  zbArray* next = nullptr;

  [[nodiscard]] const std::size_t* shape() const {
    return longShape ? longShape.get() : shortShape.data();
  }
  [[nodiscard]] std::size_t* shape() { return longShape ? longShape.get() : shortShape.data(); }
};

namespace zembra {

/// A fresh 0-by-0 array with one reference, the caller's.
zbArray* newArray(zbClass type);

/// Gives up one reference; the last one recycles the array.
void drop(zbArray* array);

/// Sets rank, shape and element count; two dimensions at least. Raises a host error
/// when the element count overflows.
void setShape(zbArray* array, std::span<const std::size_t> shape);

/// Gives the array uninitialised memory for its elements.
void allocateData(zbArray* array);

/// What the array holds beyond plain data, which is nothing at first.
Composite& compositeOf(zbArray* array);

/// "double 3-by-4": for messages.
std::string describe(const zbArray* array);

}  // namespace zembra
