// How often the process has HDF5 read or write a chunk as it is stored: what shows who
// decodes chunks, since the outcome does not.
#pragma once

namespace h5test {

struct StoredChunkCalls {
  int reads = 0;
  int writes = 0;
};

/// Since the last time; none where the release has no such calls.
StoredChunkCalls storedChunkCalls();

}  // namespace h5test
