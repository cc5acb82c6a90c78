// How many threads work on chunks.
#pragma once

namespace chunks {

/// What H5GATE_THREADS says, if it is a number from 1 on: 1 leaves chunks to HDF5. The
/// cores that the process may use otherwise.
struct ThreadCount {
  unsigned threads = 1;
  bool switchedOff = false;
};
ThreadCount threadCount();

}  // namespace chunks
