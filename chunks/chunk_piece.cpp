#include "chunks/chunk_piece.hpp"

#include <utility>

#include "hdf5/handle.hpp"

namespace chunks {
namespace {

/// What the space selects within a box.
hdf5::Space within(hid_t space, const ChunkParts::Box& box) {
  hdf5::Space copy(H5Scopy(space));
  const Corner ones = [] {
    Corner all{};
    all.fill(1);
    return all;
  }();
  if (H5Sselect_hyperslab(copy.get(), H5S_SELECT_AND, box.start.data(), nullptr, ones.data(),
                          box.size.data()) < 0) {
    return {};
  }
  return copy;
}

/// `transferred(memory space, file space)`; what it leaves on the error stack stays there.
template <class Transferred>
herr_t throughHdf5(const Transfer& transfer, const ChunkParts& parts, const ChunkPart& part,
                   Transferred transferred) {
  hdf5::Space memory = within(transfer.memorySpace, parts.memoryBox(part));
  hdf5::Space file = within(transfer.fileSpace, parts.fileBox(part));
  if (memory.valid() && file.valid() && transferred(memory.get(), file.get()) >= 0) return 0;
  const hdf5::KeepErrorStack keep;
  memory.close();
  file.close();
  return -1;
}

}  // namespace

herr_t readPiece(const Transfer& transfer, const ChunkParts& parts, const ChunkPart& part,
                 void* array) {
  return throughHdf5(transfer, parts, part, [&](hid_t memory, hid_t file) {
    return H5Dread(transfer.dataset, transfer.memoryType, memory, file, transfer.list, array);
  });
}

herr_t writePiece(const Transfer& transfer, const ChunkParts& parts, const ChunkPart& part,
                  const void* array) {
  return throughHdf5(transfer, parts, part, [&](hid_t memory, hid_t file) {
    return H5Dwrite(transfer.dataset, transfer.memoryType, memory, file, transfer.list, array);
  });
}

}  // namespace chunks
