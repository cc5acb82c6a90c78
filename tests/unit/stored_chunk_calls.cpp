#include "tests/unit/stored_chunk_calls.hpp"

#include <dlfcn.h>

#include <utility>

#include "hdf5/compat.hpp"

namespace h5test {
namespace {

StoredChunkCalls calls;

}  // namespace

StoredChunkCalls storedChunkCalls() { return std::exchange(calls, {}); }

}  // namespace h5test

#if H5_VERSION_GE(1, 10, 3)

namespace {

/// The library's own function of the name: those below stand before it in this program.
template <class Function>
Function* librarys(const char* name, Function* /*of its type*/) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" herr_t H5Dread_chunk(hid_t dataset, hid_t list, const hsize_t* offset, uint32_t* filters,
                                void* buffer) {
  static const auto function = librarys("H5Dread_chunk", H5Dread_chunk);
  ++h5test::calls.reads;
  return function(dataset, list, offset, filters, buffer);
}

extern "C" herr_t H5Dwrite_chunk(hid_t dataset, hid_t list, uint32_t filters, const hsize_t* offset,
                                 size_t size, const void* buffer) {
  static const auto function = librarys("H5Dwrite_chunk", H5Dwrite_chunk);
  ++h5test::calls.writes;
  return function(dataset, list, filters, offset, size, buffer);
}

#endif
