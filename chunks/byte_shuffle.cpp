#include "chunks/byte_shuffle.hpp"

#include <array>
#include <bit>
#include <cstring>
#include <type_traits>
#include <utility>

namespace chunks {
namespace {

/// Sixteen bytes at once, in whatever registers the machine has for them.
using Bytes16 = unsigned char __attribute__((vector_size(16)));

Bytes16 load(const std::byte* from) {
  Bytes16 bytes;
  std::memcpy(&bytes, from, sizeof(bytes));
  return bytes;
}
void store(std::byte* to, Bytes16 bytes) { std::memcpy(to, &bytes, sizeof(bytes)); }

Bytes16 interleaveLow(Bytes16 a, Bytes16 b) {
  return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}
Bytes16 interleaveHigh(Bytes16 a, Bytes16 b) {
  return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15,
                                 31);
}
Bytes16 everySecond(Bytes16 a, Bytes16 b) {
  return __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
}
Bytes16 everyOther(Bytes16 a, Bytes16 b) {
  return __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
}

constexpr std::size_t kWidth = sizeof(Bytes16);

template <std::size_t Size>
using Block = std::array<Bytes16, Size>;  // of kWidth elements

/// `step(0)` to `step(Count - 1)` as constants, without a loop: blocks stay in registers.
template <std::size_t Count, class Step>
void unrolled(Step step) {
  [&]<std::size_t... I>(std::index_sequence<I...>) {
    (step(std::integral_constant<std::size_t, I>()), ...);
  }
  (std::make_index_sequence<Count>());
}

template <std::size_t Size>
constexpr std::size_t kRounds = std::bit_width(Size) - 1;

/// Planes to elements: each round doubles how many bytes of an element stand together.
template <std::size_t Size>
Block<Size> interleaved(Block<Size> planes) {
  unrolled<kRounds<Size>>([&planes](auto) {
    Block<Size> next;
    unrolled<Size / 2>([&](auto i) {
      next[2 * i] = interleaveLow(planes[i], planes[i + Size / 2]);
      next[2 * i + 1] = interleaveHigh(planes[i], planes[i + Size / 2]);
    });
    planes = next;
  });
  return planes;
}

/// Elements to planes: the same rounds backwards.
template <std::size_t Size>
Block<Size> separated(Block<Size> elements) {
  unrolled<kRounds<Size>>([&elements](auto) {
    Block<Size> next;
    unrolled<Size / 2>([&](auto i) {
      next[i] = everySecond(elements[2 * i], elements[2 * i + 1]);
      next[i + Size / 2] = everyOther(elements[2 * i], elements[2 * i + 1]);
    });
    elements = next;
  });
  return elements;
}

/// How many of the elements were done: the rest is less than a block.
template <std::size_t Size>
std::size_t unshuffleBlocks(const std::byte* from, std::size_t elements, std::byte* to) {
  std::size_t done = 0;
  for (; elements - done >= kWidth; done += kWidth) {
    Block<Size> block;
    unrolled<Size>([&](auto i) { block[i] = load(from + i * elements + done); });
    block = interleaved<Size>(block);
    unrolled<Size>([&](auto i) { store(to + done * Size + i * kWidth, block[i]); });
  }
  return done;
}
template <std::size_t Size>
std::size_t shuffleBlocks(const std::byte* from, std::size_t elements, std::byte* to) {
  std::size_t done = 0;
  for (; elements - done >= kWidth; done += kWidth) {
    Block<Size> block;
    unrolled<Size>([&](auto i) { block[i] = load(from + done * Size + i * kWidth); });
    block = separated<Size>(block);
    unrolled<Size>([&](auto i) { store(to + i * elements + done, block[i]); });
  }
  return done;
}

}  // namespace

void unshuffle(std::span<const std::byte> from, std::size_t elementSize, std::byte* to) {
  const std::size_t elements = from.size() / elementSize;
  std::size_t done = 0;
  switch (elementSize) {
    case 2: done = unshuffleBlocks<2>(from.data(), elements, to); break;
    case 4: done = unshuffleBlocks<4>(from.data(), elements, to); break;
    case 8: done = unshuffleBlocks<8>(from.data(), elements, to); break;
    case 16: done = unshuffleBlocks<16>(from.data(), elements, to); break;
    default: break;
  }
  for (std::size_t plane = 0; plane < elementSize; ++plane) {
    const std::byte* source = from.data() + plane * elements;
    for (std::size_t i = done; i < elements; ++i) to[i * elementSize + plane] = source[i];
  }
  const std::size_t whole = elements * elementSize;
  std::memcpy(to + whole, from.data() + whole, from.size() - whole);
}

void shuffle(std::span<const std::byte> from, std::size_t elementSize, std::byte* to) {
  const std::size_t elements = from.size() / elementSize;
  std::size_t done = 0;
  switch (elementSize) {
    case 2: done = shuffleBlocks<2>(from.data(), elements, to); break;
    case 4: done = shuffleBlocks<4>(from.data(), elements, to); break;
    case 8: done = shuffleBlocks<8>(from.data(), elements, to); break;
    case 16: done = shuffleBlocks<16>(from.data(), elements, to); break;
    default: break;
  }
  for (std::size_t plane = 0; plane < elementSize; ++plane) {
    std::byte* target = to + plane * elements;
    for (std::size_t i = done; i < elements; ++i) target[i] = from[i * elementSize + plane];
  }
  const std::size_t whole = elements * elementSize;
  std::memcpy(to + whole, from.data() + whole, from.size() - whole);
}

}  // namespace chunks
