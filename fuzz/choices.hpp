// What bytes decide: the bytes of one call, and where they are used up, numbers made of
// them. The same bytes always decide the same, whatever other calls there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace fuzz {

class Choices {
 public:
  explicit Choices(std::span<const std::uint8_t> bytes) : bytes_(bytes) {
    for (const std::uint8_t byte : bytes) state_ = (state_ ^ byte) * 0x100000001B3U;
  }

  std::size_t below(std::size_t end) {
    const std::size_t first = byte();
    return (end > 256 ? first | std::size_t{byte()} << 8 : first) % end;
  }
  bool oneIn(std::size_t end) { return below(end) == end - 1; }
  /// With all 64 bits.
  std::uint64_t word() { return state_ = mixed(state_ + 0x9E3779B97F4A7C15U); }
  template <class Items>
  auto& any(Items& items) {
    return items[below(std::size(items))];
  }

 private:
  static std::uint64_t mixed(std::uint64_t bits) {
    bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ bits >> 27) * 0x94D049BB133111EBU;
    return bits ^ bits >> 31;
  }
  std::uint8_t byte() {
    if (bytes_.empty()) return static_cast<std::uint8_t>(word());
    const std::uint8_t first = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return first;
  }

  std::span<const std::uint8_t> bytes_;
  std::uint64_t state_ = 0xCBF29CE484222325U;
};

}  // namespace fuzz
