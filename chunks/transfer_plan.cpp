#include "chunks/transfer_plan.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "chunks/thread_count.hpp"
#include "hdf5/shields.hpp"

namespace chunks {
namespace {

/// To look at a dataset takes a tenth of the time in which HDF5 copies this much.
constexpr std::size_t kLeastBytes = std::size_t{1} << 20;
/// Chunks larger than this would be in memory too often at once.
constexpr std::size_t kLargestChunk = std::size_t{64} << 20;
/// A thread is worth its start for this much of chunks.
constexpr std::size_t kBytesPerThread = std::size_t{512} << 10;
/// All that is in memory besides the array, and how many chunks each thread has in hand.
constexpr std::size_t kMemoryForChunks = std::size_t{1} << 30;
constexpr std::size_t kChunksPerThread = 6;
/// A call that has so many times as much of chunks as fits into the chunk cache leaves at
/// most one part of these in it that the next call could use.
constexpr std::size_t kCaches = 3;

bool asksForNothingSpecial(hid_t list) {
  return list == H5P_DEFAULT || H5Pequal(list, H5P_DATASET_XFER_DEFAULT) > 0;
}

/// Whether elements are bytes that HDF5 copies as they are, or numbers that it converts.
enum class Change { kNone, kNumbers, kOther };
Change changeBetween(hid_t fileType, hid_t memoryType) {
  // What has memory of its own, and what only means something together with its file.
  if (hdf5::holdsPointers(fileType) || H5Tdetect_class(fileType, H5T_REFERENCE) != 0) {
    return Change::kOther;
  }
  if (H5Tequal(fileType, memoryType) > 0) return Change::kNone;
  const H5T_class_t type = H5Tget_class(fileType);
  const auto isNumber = [](H5T_class_t any) { return any == H5T_INTEGER || any == H5T_FLOAT; };
  return isNumber(type) && isNumber(H5Tget_class(memoryType)) ? Change::kNumbers : Change::kOther;
}

/// HDF5 takes care of files that are read while they are written.
bool allows(hid_t dataset, unsigned intent) {
  const hdf5::Handle<H5Fclose> file(H5Iget_file_id(dataset));
  unsigned given = 0;
  if (H5Fget_intent(file.get(), &given) < 0) return false;
  return !hdf5::isShared(given) && (given & intent) == intent;
}

/// An element as HDF5 fills chunks with. None where it leaves them as they are.
std::vector<std::byte> fillOf(hid_t creationList, hid_t fileType, std::size_t size) {
  H5D_fill_time_t time = H5D_FILL_TIME_NEVER;
  H5D_fill_value_t value = H5D_FILL_VALUE_UNDEFINED;
  if (H5Pget_fill_time(creationList, &time) < 0 || time == H5D_FILL_TIME_NEVER ||
      H5Pfill_value_defined(creationList, &value) < 0) {
    return {};
  }
  std::vector<std::byte> fill(size);
  if (value == H5D_FILL_VALUE_DEFAULT) return fill;
  if (value == H5D_FILL_VALUE_USER_DEFINED &&
      H5Pget_fill_value(creationList, fileType, fill.data()) >= 0) {
    return fill;
  }
  return {};
}

/// What the dataset's chunk cache has room for.
std::size_t chunkCacheBytes(hid_t dataset) {
  const hdf5::PropertyList access(H5Dget_access_plist(dataset));
  std::size_t slots = 0;
  std::size_t bytes = 0;
  double preemption = 0;
  if (H5Pget_chunk_cache(access.get(), &slots, &bytes, &preemption) < 0) {
    return kMemoryForChunks;
  }
  return slots == 0 ? 0 : bytes;
}

/// A chunk that stays in HDF5's cache need not be decoded again. The others HDF5 would have
/// to inflate anew, and it takes about twice as long as libdeflate.
bool outgrowsCache(hid_t dataset, std::size_t chunks, std::size_t chunkBytes) {
  const std::size_t cache = chunkCacheBytes(dataset);
  return chunks > kCaches * (cache / chunkBytes);
}

unsigned threadsFor(unsigned most, std::size_t chunks, std::size_t chunkBytes) {
  const std::size_t busy = std::min(chunks, chunks * chunkBytes / kBytesPerThread);
  const std::size_t room = kMemoryForChunks / (kChunksPerThread * chunkBytes);
  return static_cast<unsigned>(std::clamp<std::size_t>(std::min(busy, room), 1, most));
}

enum class Direction { kReading, kWriting };

std::optional<Plan> planFor(const Transfer& transfer, Direction direction) {
  const bool writes = direction == Direction::kWriting;
  const hssize_t points = H5Sget_select_npoints(transfer.fileSpace);
  const std::size_t memorySize = H5Tget_size(transfer.memoryType);
  if (!hdf5::kRawChunks || points <= 0 || memorySize == 0 ||
      static_cast<std::size_t>(points) < kLeastBytes / memorySize ||
      H5Dget_offset(transfer.dataset) != HADDR_UNDEF) {  // which chunks have each
    return std::nullopt;
  }
  const ThreadCount threads = threadCount();
  if (threads.switchedOff || !asksForNothingSpecial(transfer.asked)) return std::nullopt;

  const hdf5::PropertyList creation(H5Dget_create_plist(transfer.dataset));
  Corner chunk{};
  unsigned options = 0;
  if (H5Pget_layout(creation.get()) != H5D_CHUNKED ||
      hdf5::getChunkOptions(creation.get(), &options) < 0 || options != 0) {
    return std::nullopt;
  }
  const int rank = H5Pget_chunk(creation.get(), H5S_MAX_RANK, chunk.data());
  std::optional<FilterPipeline> filters = FilterPipeline::of(creation.get());
  if (!filters || (writes && !filters->canEncode())) return std::nullopt;

  const auto file = RegularSelection::of(transfer.fileSpace);
  const auto memory = RegularSelection::of(transfer.memorySpace);
  if (!file || !memory || static_cast<int>(file->rank()) != rank) return std::nullopt;
  std::optional<ChunkParts> parts = ChunkParts::of(*file, *memory, {chunk.data(), file->rank()});
  if (!parts) return std::nullopt;

  hdf5::Type fileType(H5Dget_type(transfer.dataset));
  const std::size_t fileSize = H5Tget_size(fileType.get());
  if (fileSize == 0 || parts->pointsPerChunk() > kLargestChunk / std::max(fileSize, memorySize)) {
    return std::nullopt;
  }
  // HDF5 writes those of which only a part is written, one by one.
  const std::size_t ours = writes ? parts->wholes() : parts->count();
  const std::size_t chunkBytes = parts->pointsPerChunk() * fileSize;
  if (ours < parts->count() - ours || !outgrowsCache(transfer.dataset, ours, chunkBytes)) {
    return std::nullopt;
  }
  const hdf5::Space extent(H5Dget_space(transfer.dataset));
  const Change change = changeBetween(fileType.get(), transfer.memoryType);
  if (change == Change::kOther || H5Sextent_equal(extent.get(), transfer.fileSpace) <= 0 ||
      !allows(transfer.dataset, writes ? H5F_ACC_RDWR : H5F_ACC_RDONLY)) {
    return std::nullopt;
  }
  Plan plan{.filters = std::move(*filters),
            .parts = std::move(*parts),
            .fileType = std::move(fileType),
            .fileSize = fileSize,
            .memorySize = memorySize,
            .converts = change == Change::kNumbers,
            .fill = {},
            .threads = 1};
  plan.fill = fillOf(creation.get(), plan.fileType.get(), fileSize);
  plan.threads = threadsFor(threads.threads, plan.parts.count(), chunkBytes);
  return plan;
}

}  // namespace

std::size_t bytesForThreads(hid_t dataset) {
  return std::max(kLeastBytes, std::min((kCaches + 1) * chunkCacheBytes(dataset), kLargestChunk));
}

std::optional<Plan> planReading(const Transfer& transfer) {
  return planFor(transfer, Direction::kReading);
}

std::optional<Plan> planWriting(const Transfer& transfer) {
  return planFor(transfer, Direction::kWriting);
}

}  // namespace chunks
