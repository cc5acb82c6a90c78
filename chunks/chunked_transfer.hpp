// H5Dread and H5Dwrite with chunks on all cores. Where it is certain that the outcome is
// HDF5's own, chunks go between file and memory as they are stored, and threads of the call
// run them through their filters; everything else is HDF5's.
#pragma once

#include <cstddef>

#include "hdf5/compat.hpp"

namespace chunks {

struct Transfer {
  hid_t dataset;
  hid_t memoryType;
  hid_t memorySpace;  // neither of the spaces is H5S_ALL
  hid_t fileSpace;
  hid_t list;   // what HDF5 gets
  hid_t asked;  // what the caller gave, before anything of ours was added
};

/// Like H5Dread and H5Dwrite; the array is that of the memory space's whole extent.
herr_t read(const Transfer& transfer, void* array);
herr_t write(const Transfer& transfer, const void* array);

/// Who transfers a dataset in parts has threads work on its chunks in parts of so many bytes.
std::size_t bytesForThreads(hid_t dataset);

}  // namespace chunks
