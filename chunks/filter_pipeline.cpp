#include "chunks/filter_pipeline.hpp"

#include <cstring>

#include "chunks/byte_shuffle.hpp"
#include "chunks/fletcher32.hpp"

namespace chunks {

libdeflate_decompressor* FilterScratch::decompressor() {
  if (!decompressor_) decompressor_.reset(libdeflate_alloc_decompressor());
  return decompressor_.get();
}

libdeflate_compressor* FilterScratch::compressor(int level) {
  if (!compressor_) compressor_.reset(libdeflate_alloc_compressor(level));
  return compressor_.get();
}

std::optional<FilterPipeline> FilterPipeline::of(hid_t creationList) {
  FilterPipeline pipeline;
  const int count = H5Pget_nfilters(creationList);
  if (count < 1) return std::nullopt;
  for (unsigned i = 0; i < static_cast<unsigned>(count); ++i) {
    unsigned flags = 0;
    std::array<unsigned, 2> values{};
    std::size_t given = values.size();
    const H5Z_filter_t id =
        H5Pget_filter2(creationList, i, &flags, &given, values.data(), 0, nullptr, nullptr);
    const bool optional = (flags & H5Z_FLAG_OPTIONAL) != 0;
    const unsigned parameter = values[0];
    switch (id) {
      case H5Z_FILTER_DEFLATE:
        // How much a second one makes of what a first one left cannot be known beforehand.
        if (given != 1 || parameter > 9 || pipeline.level_) return std::nullopt;
        pipeline.level_ = parameter;
        pipeline.filters_.push_back({Kind::kDeflate, parameter, optional});
        break;
      case H5Z_FILTER_SHUFFLE:
        if (given != 1 || parameter == 0) return std::nullopt;
        pipeline.filters_.push_back({Kind::kShuffle, parameter, optional});
        break;
      case H5Z_FILTER_FLETCHER32:
        pipeline.filters_.push_back({Kind::kFletcher32, 0, optional});
        break;
      default: return std::nullopt;
    }
    if (H5Zfilter_avail(id) <= 0) return std::nullopt;
  }
  return pipeline;
}

std::size_t FilterPipeline::checksumsBefore(std::size_t filter, std::uint32_t mask) const {
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < filter; ++i) {
    if (filters_[i].kind == Kind::kFletcher32 && isActive(i, mask)) bytes += kChecksumBytes;
  }
  return bytes;
}

bool FilterPipeline::decode(std::span<const std::byte> stored, std::uint32_t mask,
                            std::span<std::byte> chunk, FilterScratch& scratch) const {
  std::size_t last = filters_.size();  // what is undone last puts the chunk where it belongs
  for (std::size_t i = filters_.size(); i-- > 0;) {
    if (isActive(i, mask)) last = i;
  }
  std::span<const std::byte> bytes = stored;
  for (std::size_t i = filters_.size(); i-- > 0;) {
    const Filter& filter = filters_[i];
    if (!isActive(i, mask)) continue;
    if (filter.kind == Kind::kFletcher32) {
      if (!endsWithChecksum(bytes)) return false;
      bytes = bytes.first(bytes.size() - kChecksumBytes);
      continue;
    }
    if (!filter.movesBytes(bytes.size())) continue;
    const bool inflates = filter.kind == Kind::kDeflate;
    const std::size_t size = inflates ? chunk.size() + checksumsBefore(i, mask) : bytes.size();
    if (i == last && size != chunk.size()) return false;
    if (size > chunk.size() + filters_.size() * kChecksumBytes) return false;
    std::byte* to = i == last ? chunk.data() : scratch.roomFor(size, bytes.data());
    if (inflates) {
      // Without a place to tell the size, nothing but exactly this size is a success.
      if (scratch.decompressor() == nullptr ||
          libdeflate_zlib_decompress(scratch.decompressor(), bytes.data(), bytes.size(), to, size,
                                     nullptr) != LIBDEFLATE_SUCCESS) {
        return false;
      }
    } else {
      unshuffle(bytes, filter.parameter, to);
    }
    bytes = {to, size};
  }
  if (bytes.size() != chunk.size()) return false;
  if (bytes.data() != chunk.data()) std::memcpy(chunk.data(), bytes.data(), bytes.size());
  return true;
}

std::optional<FilterPipeline::Encoded> FilterPipeline::encode(std::span<const std::byte> chunk,
                                                              FilterScratch& scratch) const {
  Encoded encoded{chunk};
  for (std::size_t i = 0; i < filters_.size(); ++i) {
    const Filter& filter = filters_[i];
    const std::size_t size = encoded.bytes.size();
    if (filter.kind == Kind::kFletcher32) {
      std::byte* to = scratch.roomFor(size + kChecksumBytes, encoded.bytes.data());
      std::memcpy(to, encoded.bytes.data(), size);
      appendChecksum(to, size);
      encoded.bytes = {to, size + kChecksumBytes};
    } else if (filter.kind == Kind::kDeflate) {
      const std::optional<Encoded> smaller = deflated(encoded, i, scratch);
      if (!smaller) return std::nullopt;
      encoded = *smaller;
    } else if (filter.movesBytes(size)) {
      std::byte* to = scratch.roomFor(size, encoded.bytes.data());
      shuffle(encoded.bytes, filter.parameter, to);
      encoded.bytes = {to, size};
    }
  }
  return encoded;
}

std::optional<FilterPipeline::Encoded> FilterPipeline::deflated(Encoded encoded, std::size_t filter,
                                                                FilterScratch& scratch) const {
  libdeflate_compressor* compressor =
      scratch.compressor(static_cast<int>(filters_[filter].parameter));
  if (compressor == nullptr) return std::nullopt;
  const std::size_t size = encoded.bytes.size();
  const bool optional = filters_[filter].optional;
  const std::size_t room = optional ? size - 1 : libdeflate_zlib_compress_bound(compressor, size);
  std::byte* to = scratch.roomFor(room, encoded.bytes.data());
  const std::size_t deflated =
      libdeflate_zlib_compress(compressor, encoded.bytes.data(), size, to, room);
  if (deflated > 0) {
    encoded.bytes = {to, deflated};
  } else if (optional) {
    encoded.mask |= 1U << filter;
  } else {
    return std::nullopt;
  }
  return encoded;
}

}  // namespace chunks
