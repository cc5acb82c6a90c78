// Names that leave a choice to HDF5 or to the host.
#pragma once

namespace h5test {

inline constexpr const char* kDefault = "H5P_DEFAULT";  // of property lists
inline constexpr const char* kAll = "H5S_ALL";          // of dataspaces
inline constexpr const char* kChosen = "H5ZB_DEFAULT";  // of memory datatypes

}  // namespace h5test
