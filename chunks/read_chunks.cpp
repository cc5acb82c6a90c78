// Reading: the calling thread fetches stored chunks in order; the crew decodes them and
// copies what is asked for into place. What does not come out right, HDF5 reads again.
#include <new>
#include <optional>
#include <vector>

#include "chunks/batches.hpp"
#include "chunks/chunk_piece.hpp"
#include "chunks/chunked_transfer.hpp"
#include "chunks/crew.hpp"
#include "chunks/part_copies.hpp"
#include "chunks/transfer_plan.hpp"
#include "hdf5/error_stack.hpp"
#include "hdf5/stored_chunks.hpp"

namespace chunks {
namespace {

class Reader {
 public:
  Reader(const Transfer& transfer, const Plan& plan, std::byte* array)
      : transfer_(transfer),
        plan_(plan),
        array_(array),
        batches_(plan.parts.count(), plan.chunkBytes()),
        members_(plan.threads),
        batchesInHand_(Batches::inHand(plan.threads)) {}

  /// False where HDF5 failed.
  bool run() {
    return runInOrder(
        plan_.threads, batchesInHand_.size(), batches_.count(),
        [this](std::size_t job, std::size_t n) { return fetch(batchesInHand_[job], n); },
        [this](std::size_t job, std::size_t member) noexcept {
          for (Chunk& chunk : batchesInHand_[job]) decode(chunk, members_[member]);
        },
        [this](std::size_t job, std::size_t) { return deliver(batchesInHand_[job]); });
  }

 private:
  struct Chunk {
    ChunkPart part;
    hdf5::StoredChunk stored;
    Buffer bytes;  // as stored
    std::uint32_t mask = 0;
    Buffer packed;  // the part's elements, where HDF5 has to convert them
    bool isThere = false;
  };
  using Batch = std::vector<Chunk>;
  struct Member {
    FilterScratch scratch;
    Buffer chunk;
  };

  // --- On the calling thread ---------------------------------------------------------

  bool fetch(Batch& batch, std::size_t n) {
    batch.resize(batches_.end(n) - batches_.begin(n));
    for (std::size_t i = 0; i < batch.size(); ++i) {
      Chunk& chunk = batch[i];
      chunk.part = plan_.parts.part(batches_.begin(n) + i);
      chunk.isThere = false;
      fetch(chunk);
    }
    return true;
  }

  void fetch(Chunk& chunk) {
    chunk.stored = hdf5::lookUpChunk(transfer_.dataset, chunk.part.corner.data());
    if (plan_.converts) chunk.packed.ofSize(chunk.part.points * packedSize());
    if (chunk.stored.state != hdf5::StoredChunk::kStored) return;
    // A filter that finds nothing to gain adds a little. More comes from a damaged index.
    const std::size_t most = plan_.chunkBytes() + plan_.chunkBytes() / 8 + 4096;
    if (chunk.stored.bytes > most ||
        hdf5::readStoredChunk(transfer_.dataset, H5P_DEFAULT, chunk.part.corner.data(), &chunk.mask,
                              chunk.bytes.ofSize(chunk.stored.bytes)) < 0) {
      chunk.stored.state = hdf5::StoredChunk::kUnclear;
    }
  }

  bool deliver(Batch& batch) {
    for (Chunk& chunk : batch) {
      const bool done = chunk.isThere && (!plan_.converts || convert(chunk));
      if (!done && readPiece(transfer_, plan_.parts, chunk.part, array_) < 0) return false;
    }
    return true;
  }

  bool convert(Chunk& chunk) {
    std::byte* packed = chunk.packed.data();
    if (H5Tconvert(plan_.fileType.get(), transfer_.memoryType, chunk.part.points, packed, nullptr,
                   H5P_DEFAULT) < 0) {
      return false;
    }
    unpackToArray(plan_.parts, chunk.part, plan_.memorySize, packed, array_);
    return true;
  }

  [[nodiscard]] std::size_t packedSize() const {
    return std::max(plan_.fileSize, plan_.memorySize);
  }

  // --- On any thread -----------------------------------------------------------------

  void decode(Chunk& chunk, Member& member) noexcept {
    try {
      switch (chunk.stored.state) {
        case hdf5::StoredChunk::kStored:
          chunk.isThere = place(chunk, member, [&](std::span<std::byte> decoded) {
            return plan_.filters.decode({chunk.bytes.data(), chunk.stored.bytes}, chunk.mask,
                                        decoded, member.scratch);
          });
          break;
        case hdf5::StoredChunk::kAbsent:
          chunk.isThere =
              !plan_.fill.empty() && place(chunk, member, [&](std::span<std::byte> filled) {
                replicate(plan_.fill, filled);
                return true;
              });
          break;
        case hdf5::StoredChunk::kUnclear: break;
      }
    } catch (const std::bad_alloc&) {
      chunk.isThere = false;  // HDF5 may need less
    }
  }

  /// Has the chunk made, and puts what is asked of it where it belongs.
  template <class Make>
  bool place(Chunk& chunk, Member& member, Make make) {
    const std::size_t bytes = plan_.chunkBytes();
    if (!plan_.converts) {
      if (const auto solid = plan_.parts.solidPlace(chunk.part)) {
        return make(std::span(array_ + *solid * plan_.fileSize, bytes));
      }
    }
    std::byte* whole = member.chunk.ofSize(bytes);
    if (!make(std::span(whole, bytes))) return false;
    if (plan_.converts) {
      packFromChunk(plan_.parts, chunk.part, plan_.fileSize, whole, chunk.packed.data());
    } else {
      scatter(plan_.parts, chunk.part, plan_.fileSize, whole, array_);
    }
    return true;
  }

  const Transfer& transfer_;
  const Plan& plan_;
  std::byte* array_;
  Batches batches_;
  std::vector<Member> members_;
  std::vector<Batch> batchesInHand_;
};

herr_t readThroughHdf5(const Transfer& transfer, void* array) {
  return H5Dread(transfer.dataset, transfer.memoryType, transfer.memorySpace, transfer.fileSpace,
                 transfer.list, array);
}

}  // namespace

herr_t read(const Transfer& transfer, void* array) {
  std::optional<hdf5::KeepErrorStack> failure;  // outlives what is closed meanwhile
  try {
    if (const std::optional<Plan> plan = planReading(transfer)) {
      if (Reader(transfer, *plan, static_cast<std::byte*>(array)).run()) {
        H5Eclear2(H5E_DEFAULT);
        return 0;
      }
      failure.emplace();
      return -1;
    }
  } catch (const std::bad_alloc&) {
    // Nothing that HDF5 would need is missing for sure.
  }
  return readThroughHdf5(transfer, array);
}

}  // namespace chunks
