// The reference host's arrays for C++: shared ownership of them, and their makers.
// Extensions see only host/array.hpp; embedders (the Python package, the tests) use this.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runtime/array_node.hpp"
#include "runtime/memory_block.hpp"

namespace zembra {

using Shape = std::vector<std::size_t>;

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

// Makers. Dimensions are the host's: fastest-varying first.
Value makeDouble(double value);
Value makeLogical(bool value);
Value makeText(std::string_view bytes);  // 1-by-n, 0-by-0 when empty
Value makeEmpty();                       // 0-by-0 double
Value makeRow(std::span<const double> values);
Value makeNumeric(zbClass type, std::span<const std::size_t> shape, const void* data);
/// The same for whoever fills it at once.
Value makeUninitialised(zbClass type, std::span<const std::size_t> shape);
Value makeCell(std::span<const std::size_t> shape, std::vector<Value> values);
/// 1-by-1 structure.
Value makeStruct(std::vector<std::pair<std::string, Value>> fields);
/// 1-by-1 object of the named class.
Value makeObject(std::string_view className, std::vector<std::pair<std::string, Value>> properties);
Value makeFunction(std::shared_ptr<Callable> target);
/// A value of no host class that merely travels through.
Value makeForeign(Origin origin);
/// An array on memory that `owner` keeps alive, an allocateBlock() for instance; no copy.
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
