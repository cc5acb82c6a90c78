// The reference host's array and the C++ side of working with it. Extensions see
// only host/array.hpp; embedders (the Python package, the tests) use this.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/array.hpp"

namespace zembra {

class Callable;
class CallScope;

/// The foreign object that an array was made from or merely carries: an embedder
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
  std::vector<std::string> names;    // field or property names
  std::vector<zbArray*> values;      // owned; cells, or fields of element 0, 1, ...
  std::string className;             // objects
  std::shared_ptr<Callable> target;  // function handles
  std::exception_ptr exception;      // exception objects
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

  void* data = nullptr;                            // numeric, logical, char
  alignas(16) std::array<std::byte, 16> scalar{};  // where data points for scalars
  std::shared_ptr<void> owner;                     // of data that is not the scalar
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

using Shape = std::vector<std::size_t>;

/// Gives up one reference; the last one recycles the array.
void drop(zbArray* array);

/// Shared ownership of an array.
class Value {
 public:
  Value() = default;
  /// Takes over one reference.
  explicit Value(zbArray* array) : array_(array) {}
  Value(const Value& other) : array_(other.array_) {
    if (array_ != nullptr) ++array_->references;
  }
  Value(Value&& other) noexcept : array_(std::exchange(other.array_, nullptr)) {}
  Value& operator=(Value other) noexcept {
    std::swap(array_, other.array_);
    return *this;
  }
  ~Value() {
    if (array_ != nullptr) drop(array_);
  }
  [[nodiscard]] zbArray* get() const { return array_; }
  [[nodiscard]] zbArray* release() { return std::exchange(array_, nullptr); }
  explicit operator bool() const { return array_ != nullptr; }

 private:
  zbArray* array_ = nullptr;
};

/// A Value of its own for an array that somebody else owns too.
Value share(zbArray* array);

/// Bytes of one element of a numeric, logical or char class; 0 for the others.
std::size_t elementSize(zbClass type);
/// "double", "int32", ...; for objects see zbGetClassName.
const char* className(zbClass type);
/// "double 3-by-4": for messages.
std::string describe(const zbArray* array);

/// Uninitialised memory for `bytes` bytes, 64-byte aligned; big blocks ask for
/// huge pages. Raises a host error when it cannot be had.
std::shared_ptr<void> allocateBlock(std::size_t bytes);

// Makers. Dimensions are the host's: fastest-varying first.
Value makeDouble(double value);
Value makeLogical(bool value);
Value makeText(std::string_view bytes);  // 1-by-n, 0-by-0 when empty
Value makeEmpty();                       // 0-by-0 double
Value makeRow(std::span<const double> values);
Value makeNumeric(zbClass type, std::span<const std::size_t> shape, const void* data);
Value makeCell(std::span<const std::size_t> shape, std::vector<Value> values);
/// 1-by-1 structure.
Value makeStruct(std::vector<std::pair<std::string, Value>> fields);
/// 1-by-1 object of the named class.
Value makeObject(std::string_view className, std::vector<std::pair<std::string, Value>> properties);
Value makeFunction(std::shared_ptr<Callable> target);
/// A value of no host class that merely travels through.
Value makeForeign(Origin origin);
/// An array on memory that `owner` keeps alive; no copy.
Value makeOnBlock(zbClass type, std::span<const std::size_t> shape, void* data,
                  std::shared_ptr<void> owner);

// The same for a shape that is written out: makeNumeric(type, {1, n}, data).
template <std::size_t rank>
Value makeNumeric(zbClass type, const std::size_t (&shape)[rank], const void* data) {
  return makeNumeric(type, std::span<const std::size_t>(shape), data);
}
template <std::size_t rank>
Value makeCell(const std::size_t (&shape)[rank], std::vector<Value> values) {
  return makeCell(std::span<const std::size_t>(shape), std::move(values));
}
template <std::size_t rank>
Value makeOnBlock(zbClass type, const std::size_t (&shape)[rank], void* data,
                  std::shared_ptr<void> owner) {
  return makeOnBlock(type, std::span<const std::size_t>(shape), data, std::move(owner));
}

}  // namespace zembra
