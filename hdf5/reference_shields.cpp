#include "hdf5/reference_shields.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hdf5/family_shields.hpp"
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

/// What stands before a selection's rank and how many bytes its numbers have, which every
/// version of HDF5's writers does in its own way.
struct Encoding {
  std::size_t rankAt;
  std::size_t width;
  bool regular;  // a hyperslab's start, stride, count and block; else a list of corners
};

std::optional<Encoding> encodingOf(Bytes bytes, bool points) {
  constexpr std::uint8_t kRegular = 1;
  switch (numberIn(bytes.subspan(4), 4)) {
    case 1: return Encoding{16, 4, false};
    case 2: return points ? Encoding{9, bytes[8], false} : Encoding{13, 8, true};
    case 3:
      if (!points) return Encoding{10, bytes[9], (bytes[8] & kRegular) != 0};
      [[fallthrough]];
    default: return std::nullopt;
  }
}

/// Whether the bytes are as many as the selection that they begin has.
bool isSelection(Bytes bytes) {
  constexpr std::size_t kLeast = 16;
  if (bytes.size() < kLeast) return false;
  const std::uint64_t kind = numberIn(bytes, 4);
  if (kind == H5S_SEL_NONE || kind == H5S_SEL_ALL) return true;
  const bool points = kind == H5S_SEL_POINTS;
  if (!points && kind != H5S_SEL_HYPERSLABS) return false;
  const auto encoding = encodingOf(bytes, points);
  if (!encoding || bytes.size() < encoding->rankAt + 4) return false;
  const auto [rankAt, width, regular] = *encoding;
  if (width != 2 && width != 4 && width != 8) return false;
  const std::uint64_t rank = numberIn(bytes.subspan(rankAt), 4);
  const Bytes numbers = bytes.subspan(rankAt + 4);
  if (rank == 0 || rank > H5S_MAX_RANK) return false;
  if (regular) return numbers.size() / width >= 4 * rank;
  const std::uint64_t each = points ? rank : 2 * rank;
  return numbers.size() >= width && numberIn(numbers, width) <= (numbers.size() / width - 1) / each;
}

}  // namespace

bool leadsIntoFile(hid_t location, const void* reference) {
  const Handle<H5Fclose> file(H5Iget_file_id(location));
  if (!file.valid()) return true;  // what is in no file HDF5 refuses itself
  if (!mayBeFamily(PropertyList(H5Fget_access_plist(file.get())).get())) return true;
  const Bytes address(static_cast<const std::uint8_t*>(reference), sizeof(hobj_ref_t));
  return FileBytes(file.get()).holds(numberIn(address, address.size()), 1);
}

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
