// Which memory datatype a transfer uses: named, given and checked, or chosen.
#pragma once

#include "convert/failure.hpp"
#include "convert/identifiers.hpp"
#include "hdf5/handle.hpp"
#include "host/array.hpp"

namespace h5gate {

/// The file datatype of a dataset or an attribute; any other identifier raises
/// `Message` with its type.
template <class Message>
hdf5::Type fileDatatypeOf(hid_t location) {
  const H5I_type_t type = H5Iget_type(location);
  if (type == H5I_DATASET) return hdf5::Type(checked(H5Dget_type(location)));
  if (type == H5I_ATTR) return hdf5::Type(checked(H5Aget_type(location)));
  if (type < 0) raiseFailed<Message>(codec::typeToHost(type));
  raise<Message>(codec::typeToHost(type));
}

/// A memory datatype, closed at the end when it was made for the transfer.
class MemoryDatatype {
 public:
  explicit MemoryDatatype(hid_t id) : id_(id) {}
  explicit MemoryDatatype(hdf5::Type made) : id_(made.get()), made_(std::move(made)) {}
  [[nodiscard]] hid_t get() const { return id_; }

 private:
  hid_t id_;
  hdf5::Type made_;
};

/// "H5ZB_DEFAULT": what suits the file datatype, and the data when they are to be
/// written (null for reading). Any other text: a named constant, trusted as it is.
/// An identifier is checked against the file datatype. `getType` is H5Dget_type or
/// H5Aget_type, as the location asks.
MemoryDatatype chooseMemoryDatatype(hid_t location, hid_t (*getType)(hid_t),
                                    const zbArray* argument, const zbArray* data);

}  // namespace h5gate
