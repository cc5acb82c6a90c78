#include "hdf5/stored_chunks.hpp"

#include <string_view>

#include "hdf5/error_stack.hpp"

namespace hdf5 {
namespace {

/// Of a failed question for a chunk's size: an index that could not be read fails deeper.
bool isOfAnAbsentChunk() {
  bool absent = false;
  const auto look = [](unsigned, const H5E_error2_t* record, void* found) -> herr_t {
    *static_cast<bool*>(found) = record->func_name != nullptr && record->desc != nullptr &&
                                 std::string_view(record->desc) == "chunk storage is not allocated";
    return 1;  // the innermost record is enough
  };
  H5Ewalk2(H5E_DEFAULT, H5E_WALK_UPWARD, look, &absent);
  return absent;
}

}  // namespace

StoredChunk lookUpChunk(hid_t dataset, const hsize_t* corner) {
  StoredChunk chunk;
  if (storedChunkBytes(dataset, corner, &chunk.bytes) < 0) {
    if (isOfAnAbsentChunk()) chunk.state = StoredChunk::kAbsent;
    chunk.bytes = 0;
    H5Eclear2(H5E_DEFAULT);
  } else if (chunk.bytes > 0) {
    // None at all means that the dataset has no index yet. What would be its only chunk
    // may be in the chunk cache all the same.
    chunk.state = StoredChunk::kStored;
  }
  return chunk;
}

}  // namespace hdf5
