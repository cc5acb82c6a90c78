// Texts that HDF5 hands out and the caller releases.
#pragma once

#include <cstdlib>
#include <memory>

#include "hdf5/compat.hpp"

namespace hdf5 {

/// With HDF5's own routine where there is one.
inline void freeText(char* text) {
#if H5_VERSION_GE(1, 8, 13)
  H5free_memory(text);
#else
  std::free(text);
#endif
}

/// The drivers of split files are written as a user's are: with the C library's texts.
inline void freeDriverText(char* text) {
  std::free(text);  // NOLINT(cppcoreguidelines-no-malloc): what strdup gave
}

template <void (*Free)(char*)>
struct FreeBy {
  void operator()(char* text) const { Free(text); }
};
using AllocatedText = std::unique_ptr<char, FreeBy<freeText>>;
using DriverText = std::unique_ptr<char, FreeBy<freeDriverText>>;

}  // namespace hdf5
