// Writing: the crew takes whole chunks from the array and encodes them; the calling thread
// hands them to HDF5 in order, which writes by itself what is only a part of a chunk.
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

class Writer {
 public:
  Writer(const Transfer& transfer, const Plan& plan, const std::byte* array)
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
        [this](std::size_t job, std::size_t n) { return prepare(batchesInHand_[job], n); },
        [this](std::size_t job, std::size_t member) noexcept {
          for (Chunk& chunk : batchesInHand_[job]) encode(chunk, members_[member]);
        },
        [this](std::size_t job, std::size_t) { return store(batchesInHand_[job]); });
  }

 private:
  struct Chunk {
    ChunkPart part;
    Buffer packed;  // the part's elements, where HDF5 had to convert them
    Buffer bytes;   // to be stored
    std::size_t size = 0;
    std::uint32_t mask = 0;
    bool isLast = false;
    bool isOurs = false;
    bool isEncoded = false;
  };
  using Batch = std::vector<Chunk>;
  struct Member {
    FilterScratch scratch;
    Buffer chunk;
  };

  // --- On the calling thread ---------------------------------------------------------

  bool prepare(Batch& batch, std::size_t n) {
    batch.resize(batches_.end(n) - batches_.begin(n));
    for (std::size_t i = 0; i < batch.size(); ++i) {
      Chunk& chunk = batch[i];
      const std::size_t number = batches_.begin(n) + i;
      chunk.part = plan_.parts.part(number);
      chunk.isLast = number + 1 == plan_.parts.count();
      // What lies beyond the extent is to be what HDF5 would fill it with.
      chunk.isOurs = chunk.part.whole && (chunk.part.inside || !plan_.fill.empty());
      chunk.isEncoded = false;
      if (chunk.isOurs && plan_.converts) chunk.isOurs = convert(chunk);
    }
    return true;
  }

  bool convert(Chunk& chunk) {
    const std::size_t widest = std::max(plan_.fileSize, plan_.memorySize);
    std::byte* packed = chunk.packed.ofSize(chunk.part.points * widest);
    packFromArray(plan_.parts, chunk.part, plan_.memorySize, array_, packed);
    return H5Tconvert(transfer_.memoryType, plan_.fileType.get(), chunk.part.points, packed,
                      nullptr, H5P_DEFAULT) >= 0;
  }

  bool store(Batch& batch) {
    for (Chunk& chunk : batch) {
      if (canBeStored(chunk)) {
        if (hdf5::writeStoredChunk(transfer_.dataset, H5P_DEFAULT, chunk.mask,
                                   chunk.part.corner.data(), chunk.size, chunk.bytes.data()) < 0) {
          return false;
        }
      } else if (writePiece(transfer_, plan_.parts, chunk.part, array_) < 0) {
        return false;
      }
    }
    return true;
  }

  /// HDF5 keeps the filter mask of a stored chunk when the new bytes are as many, and goes on
  /// with the mask from before for the chunk that it has looked up last.
  bool canBeStored(const Chunk& chunk) {
    if (!chunk.isEncoded || (chunk.isLast && chunk.mask != 0)) return false;
    const hdf5::StoredChunk old = hdf5::lookUpChunk(transfer_.dataset, chunk.part.corner.data());
    if (old.state != hdf5::StoredChunk::kStored || old.bytes != chunk.size) return true;
    std::uint32_t mask = 0;
    return hdf5::readStoredChunk(transfer_.dataset, H5P_DEFAULT, chunk.part.corner.data(), &mask,
                                 overwritten_.ofSize(old.bytes)) >= 0 &&
           mask == chunk.mask;
  }

  // --- On any thread -----------------------------------------------------------------

  void encode(Chunk& chunk, Member& member) noexcept {
    if (!chunk.isOurs) return;
    try {
      const auto encoded =
          plan_.filters.encode({assemble(chunk, member), plan_.chunkBytes()}, member.scratch);
      if (!encoded) return;
      chunk.size = encoded->bytes.size();
      chunk.mask = encoded->mask;
      std::memcpy(chunk.bytes.ofSize(chunk.size), encoded->bytes.data(), chunk.size);
      chunk.isEncoded = true;
    } catch (const std::bad_alloc&) {
      chunk.isEncoded = false;  // HDF5 may need less
    }
  }

  /// The chunk's bytes, before any filter.
  const std::byte* assemble(Chunk& chunk, Member& member) {
    if (!plan_.converts) {
      if (const auto solid = plan_.parts.solidPlace(chunk.part)) {
        return array_ + *solid * plan_.fileSize;
      }
    }
    std::byte* whole = member.chunk.ofSize(plan_.chunkBytes());
    if (!chunk.part.inside) replicate(plan_.fill, {whole, plan_.chunkBytes()});
    if (plan_.converts) {
      unpackToChunk(plan_.parts, chunk.part, plan_.fileSize, chunk.packed.data(), whole);
    } else {
      gather(plan_.parts, chunk.part, plan_.fileSize, array_, whole);
    }
    return whole;
  }

  const Transfer& transfer_;
  const Plan& plan_;
  const std::byte* array_;
  Batches batches_;
  std::vector<Member> members_;
  std::vector<Batch> batchesInHand_;
  Buffer overwritten_;
};

herr_t writeThroughHdf5(const Transfer& transfer, const void* array) {
  return H5Dwrite(transfer.dataset, transfer.memoryType, transfer.memorySpace, transfer.fileSpace,
                  transfer.list, array);
}

}  // namespace

herr_t write(const Transfer& transfer, const void* array) {
  std::optional<hdf5::KeepErrorStack> failure;  // outlives what is closed meanwhile
  try {
    if (const std::optional<Plan> plan = planWriting(transfer)) {
      if (Writer(transfer, *plan, static_cast<const std::byte*>(array)).run()) {
        H5Eclear2(H5E_DEFAULT);
        return 0;
      }
      failure.emplace();
      return -1;
    }
  } catch (const std::bad_alloc&) {
    // Nothing that HDF5 would need is missing for sure.
  }
  return writeThroughHdf5(transfer, array);
}

}  // namespace chunks
