// How arrays of variable-length data, and of compounds without some of their members, are
// converted: each by a background of its own.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// While one lives, HDF5 converts such arrays by our function instead of its own.
class ArrayConversion {
 public:
  ArrayConversion();
  ~ArrayConversion();
  ArrayConversion(const ArrayConversion&) = delete;
  ArrayConversion& operator=(const ArrayConversion&) = delete;
  /// HDF5 has taken the function.
  [[nodiscard]] bool valid() const { return registered_; }

 private:
  bool registered_ = false;
};

}  // namespace hdf5
