// What would take the library, or the ground, away from under a function of its own.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// For as long as HDF5 waits, on this thread, for a callback to return.
class InsideCallback {
 public:
  InsideCallback();
  ~InsideCallback();
  InsideCallback(const InsideCallback&) = delete;
  InsideCallback& operator=(const InsideCallback&) = delete;
};

/// Whether this thread's stack is nearly used up, so that no callback may be called: what
/// it calls could call it again, and neither HDF5 nor the host looks how deep.
bool isStackShort();

/// H5close, with what is open closed before it. Refused inside a callback: HDF5 would go on
/// with objects that are gone.
herr_t closeLibrary();

}  // namespace hdf5
