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

  /// Whether the array is better read and written one part of the data after the other,
  /// through buffers that stay in the cache: of compounds, whose members are arrays of
  /// their own.
  [[nodiscard]] bool goesInParts() const;

  /// A new array of all elements of the extent is begun, filled with parts of `count`
  /// elements from the `first` on, and given. Parts may come in any order, and from several
  /// threads at once.
  void beginReading();
  void putPart(const void* buffer, std::size_t first, std::size_t count) const;
  zbArray* endReading();

  /// The array is looked at as write() does; then parts of it are laid out, in any order, and
  /// by several threads at once. Bytes between members are zero.
  void beginWriting(const zbArray* data);
  void layPart(void* buffer, std::size_t first, std::size_t count) const;

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
