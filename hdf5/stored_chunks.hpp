// Which chunks of a dataset are stored, one by one.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

struct StoredChunk {
  enum State {
    kStored,   ///< in the file, `bytes` long; what was changed in the chunk cache is there, too
    kAbsent,   ///< never written
    kUnclear,  ///< HDF5 alone knows
  };
  State state = kUnclear;
  hsize_t bytes = 0;
};

/// The chunk whose first element is at `corner`.
StoredChunk lookUpChunk(hid_t dataset, const hsize_t* corner);

}  // namespace hdf5
