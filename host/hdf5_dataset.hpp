// The host's converter between arrays and HDF5 memory buffers.
#pragma once

#include <hdf5.h>

#include <memory>

#include "host/array.hpp"

/// One transfer: bound to a memory datatype and a memory dataspace, neither of
/// which it owns. Dimensions: the fastest-varying HDF5 dimension is the host
/// array's first, so that bytes are never moved.
class HDF5Dataset {
 public:
  /// Raises a host error for data that have no host form (class time).
  HDF5Dataset(hid_t memoryType, hid_t memorySpace);
  ~HDF5Dataset();
  HDF5Dataset(const HDF5Dataset&) = delete;
  HDF5Dataset& operator=(const HDF5Dataset&) = delete;

  /// A buffer for every element of the space's extent, owned by this object.
  /// Elements that a selection leaves out are zero.
  void* getBuffer();

  /// Has HDF5 ask this object for the memory of variable-length data in a transfer with that
  /// list. Otherwise it is C's, and this object frees what is left in its own buffer.
  void provideMemory(hid_t transferList);

  /// A new array made of a filled buffer. The own buffer's memory becomes the
  /// array where the two layouts are the same.
  zbArray* read(const void* buffer);

  /// Whether the array is better made of one part of the data after the other, through a
  /// buffer that stays in the cache: of compounds, whose members become arrays of their own.
  [[nodiscard]] bool readsInParts() const;

  /// What fills a buffer with `count` elements from the `first` on; negative when it fails.
  using FillPart = herr_t (*)(void* buffer, std::size_t first, std::size_t count, void* context);

  /// A new array of all elements of the extent, in parts of `length`; null when one fails.
  zbArray* readInParts(std::size_t length, FillPart fill, void* context);

  /// The array laid out as the memory datatype and space ask; valid while both
  /// this object and the array live. Raises a host error that names array and
  /// datatype when class or element count do not fit.
  const void* write(const zbArray* data);

  /// A new memory datatype for reading data of the file datatype.
  static hid_t getMemDatatype(hid_t fileType);
  /// The same for writing this array into data of the file datatype.
  static hid_t getMemDatatype(hid_t fileType, const zbArray* data);

 private:
  struct Transfer;
  std::unique_ptr<Transfer> transfer_;
};
