#include "hdf5/reference_shields.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hdf5/file_bytes.hpp"
#include "hdf5/handle.hpp"

namespace hdf5 {
namespace {

using Bytes = std::span<const std::uint8_t>;

/// The little-endian number that the first bytes are.
std::uint64_t numberIn(Bytes bytes, std::size_t size) {
  std::uint64_t number = 0;
  for (std::size_t i = size; i > 0; --i) number = number << 8 | bytes[i - 1];
  return number;
}

std::size_t aligned(std::size_t size) { return (size + 7) / 8 * 8; }

// A collection of the global heap, by the HDF5 file format: "GCOL", a version, its size;
// then objects, each with its index, a count of references, its size and its bytes.

constexpr std::size_t kSmallestCollection = 4096;
constexpr std::size_t kBeforeLength = 8;

std::optional<std::vector<std::uint8_t>> readCollection(FileBytes& file, haddr_t address) {
  auto collection = file.readHeap(address, kSmallestCollection);
  constexpr std::uint8_t kSignature[] = {'G', 'C', 'O', 'L'};
  if (!collection || !std::ranges::equal(kSignature, std::span(*collection).first<4>())) {
    return std::nullopt;
  }
  const std::uint64_t size =
      numberIn(std::span(*collection).subspan(kBeforeLength), file.lengthSize());
  if (size > kSmallestCollection) collection = file.readHeap(address, size);
  return collection;
}

/// The bytes of the object of this index; empty where there is none.
Bytes objectIn(Bytes collection, std::uint64_t index, std::size_t lengthSize) {
  const std::size_t header = aligned(kBeforeLength + lengthSize);
  Bytes rest = collection.subspan(header);
  while (rest.size() >= header) {
    const std::uint64_t found = numberIn(rest, 2);
    const std::uint64_t size = numberIn(rest.subspan(kBeforeLength), lengthSize);
    // Index 0 is the room that is left, behind all objects.
    if (found == 0 || size > rest.size() - header) return {};
    if (found == index) return rest.subspan(header, size);
    rest = rest.subspan(std::min(header + aligned(size), rest.size()));
  }
  return {};
}

/// Whether the bytes are as many as the selection that they begin has.
bool isSelection(Bytes bytes) {
  constexpr std::size_t kHeader = 16;
  if (bytes.size() < kHeader) return false;
  const std::uint64_t kind = numberIn(bytes, 4);
  const std::uint64_t version = numberIn(bytes.subspan(4), 4);
  if (kind == H5S_SEL_NONE || kind == H5S_SEL_ALL) return true;
  if (kind != H5S_SEL_POINTS && kind != H5S_SEL_HYPERSLABS) return false;
  if (version == 1) {
    if (bytes.size() < kHeader + 8) return false;
    const std::uint64_t rank = numberIn(bytes.subspan(kHeader), 4);
    const std::uint64_t count = numberIn(bytes.subspan(kHeader + 4), 4);
    const std::uint64_t corners = kind == H5S_SEL_HYPERSLABS ? 2 : 1;
    return rank <= H5S_MAX_RANK && count * rank * corners <= (bytes.size() - kHeader - 8) / 4;
  }
  // Of 1.10: a regular hyperslab, with start, stride, count and block in 64 bits each.
  constexpr std::size_t kRegularHeader = 17;
  if (version != 2 || kind != H5S_SEL_HYPERSLABS || bytes.size() < kRegularHeader) return false;
  const std::uint64_t rank = numberIn(bytes.subspan(kRegularHeader - 4), 4);
  return rank <= H5S_MAX_RANK && rank * 4 * 8 <= bytes.size() - kRegularHeader;
}

}  // namespace

bool leadsToRegion(hid_t location, const void* reference) {
  const Handle<H5Fclose> file(H5Iget_file_id(location));
  if (!file.valid()) return true;  // what is in no file HDF5 refuses itself
  FileBytes bytes(file.get());
  const std::size_t addressSize = bytes.addressSize();
  const Bytes reference12(static_cast<const std::uint8_t*>(reference), sizeof(hdset_reg_ref_t));
  if (addressSize + 4 > reference12.size()) return false;
  const haddr_t address = numberIn(reference12, addressSize);
  const std::uint64_t index = numberIn(reference12.subspan(addressSize), 4);
  const auto collection = readCollection(bytes, address);
  if (!collection) return false;
  const Bytes object = objectIn(*collection, index, bytes.lengthSize());
  return object.size() >= addressSize && isSelection(object.subspan(addressSize));
}

}  // namespace hdf5
