// The filters of a dataset, applied to whole chunks and undone: deflate by libdeflate,
// shuffle, Fletcher-32, in whichever order the dataset has them.
#pragma once

#include <libdeflate.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "chunks/buffer.hpp"
#include "hdf5/compat.hpp"

namespace chunks {

/// What one thread at a time needs to run chunks through filters.
class FilterScratch {
 public:
  /// Null where there is no memory for it.
  libdeflate_decompressor* decompressor();
  libdeflate_compressor* compressor(int level);

  /// Room for what a filter makes of the bytes at `from`, wherever those are.
  std::byte* roomFor(std::size_t bytes, const std::byte* from) {
    return buffers_[buffers_[0].data() == from ? 1 : 0].ofSize(bytes);
  }

 private:
  struct Free {
    void operator()(libdeflate_decompressor* used) const { libdeflate_free_decompressor(used); }
    void operator()(libdeflate_compressor* used) const { libdeflate_free_compressor(used); }
  };
  std::unique_ptr<libdeflate_decompressor, Free> decompressor_;
  std::unique_ptr<libdeflate_compressor, Free> compressor_;
  std::array<Buffer, 2> buffers_;
};

class FilterPipeline {
 public:
  /// None where a filter is another one, or not as HDF5 makes it, or the linked HDF5
  /// comes without it.
  static std::optional<FilterPipeline> of(hid_t creationList);

  [[nodiscard]] bool deflates() const { return level_.has_value(); }
  /// Whether encoding takes nothing but what libdeflate does as zlib does.
  [[nodiscard]] bool canEncode() const { return !level_ || (*level_ >= 1 && *level_ <= 9); }

  /// Fills the chunk with what the stored bytes stand for; `mask` has a bit for each filter
  /// that was left out. False where the bytes are not those of such a chunk.
  bool decode(std::span<const std::byte> stored, std::uint32_t mask, std::span<std::byte> chunk,
              FilterScratch& scratch) const;

  struct Encoded {
    std::span<const std::byte> bytes;  // in the scratch, or the chunk itself
    std::uint32_t mask = 0;
  };
  /// What is to be stored for a chunk. A deflate filter that is optional is left out
  /// where it does not make the chunk smaller.
  std::optional<Encoded> encode(std::span<const std::byte> chunk, FilterScratch& scratch) const;

 private:
  enum class Kind { kDeflate, kShuffle, kFletcher32 };
  struct Filter {
    Kind kind;
    unsigned parameter;  // the level, the size of an element
    bool optional;
    [[nodiscard]] bool movesBytes(std::size_t bytes) const {
      return kind == Kind::kDeflate ||
             (kind == Kind::kShuffle && parameter > 1 && bytes / parameter > 1);
    }
  };
  [[nodiscard]] bool isActive(std::size_t filter, std::uint32_t mask) const {
    return (mask >> filter & 1) == 0;
  }
  [[nodiscard]] std::size_t checksumsBefore(std::size_t filter, std::uint32_t mask) const;
  std::optional<Encoded> deflated(Encoded bytes, std::size_t filter, FilterScratch& scratch) const;

  std::vector<Filter> filters_;
  std::optional<unsigned> level_;
};

}  // namespace chunks
