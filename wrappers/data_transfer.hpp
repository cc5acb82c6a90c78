// Data between host arrays and HDF5: what datasets and attributes share.
#pragma once

#include "convert/failure.hpp"
#include "hdf5/handle.hpp"
#include "host/array.hpp"
#include "host/hdf5_dataset.hpp"

namespace h5gate {

/// The array that a read gives: of an extent without points, an empty 0-by-0 array
/// of the class that the data have.
zbArray* readResult(HDF5Dataset& dataset, const void* buffer, hssize_t points);

/// Runs `read(buffer, dataset)` on the host's buffer for the memory datatype and space.
template <class Read>
zbArray* readData(hid_t memoryType, hid_t memorySpace, hssize_t points, Read read) {
  HDF5Dataset dataset(memoryType, memorySpace);
  void* buffer = dataset.getBuffer();
  checked(read(buffer, dataset));
  return readResult(dataset, buffer, points);
}

/// Runs `write(buffer)` on the array laid out for the memory datatype and space. A
/// null space takes nothing but an empty array; anything else raises `NullSpace`.
template <class NullSpace, class Write>
void writeData(hid_t memoryType, hid_t memorySpace, const zbArray* data, Write write) {
  if (H5Sget_simple_extent_type(memorySpace) == H5S_NULL) {
    if (zbGetNumberOfElements(data) != 0) raiseAbout<NullSpace>(data);
    return;
  }
  HDF5Dataset dataset(memoryType, memorySpace);
  checked(write(dataset.write(data)));
}

}  // namespace h5gate
