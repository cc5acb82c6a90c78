// The value of a link: the path of a soft link, the packed names of an external one.
#pragma once

#include <string>

#include "gateway/failure.hpp"
#include "hdf5/compat.hpp"

namespace h5gate {

/// `read(buffer, size)` fills at most `size` bytes; a NUL stands behind them. Where
/// other links have the size of their value, the record of a hard link has the
/// object's address, which is no size of anything: HDF5 gets no room there.
template <class Read>
std::string readLinkValue(const hdf5::LinkInfo& info, Read read) {
  const std::size_t size = info.type == H5L_TYPE_HARD ? 0 : info.u.val_size;
  std::string value(size + 1, '\0');
  checked(read(value.data(), value.size()));
  return value;
}

}  // namespace h5gate
