// What would take the library away from under a function of its own.
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

/// H5close, refused inside a callback: HDF5 would go on with objects that are gone.
herr_t closeLibrary();

}  // namespace hdf5
