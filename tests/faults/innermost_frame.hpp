// Where a process is when a signal ends it.
#pragma once

#include <cstddef>

namespace faults {

/// From now on the name of the innermost function of HDF5's or the gateway's is written there
/// when a signal ends the process.
void tellInnermostFrame(char* name, std::size_t size);

}  // namespace faults
