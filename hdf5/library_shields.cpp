#include "hdf5/library_shields.hpp"

#include "hdf5/error_stack.hpp"

namespace hdf5 {
namespace {

thread_local unsigned callbacks = 0;

}  // namespace

InsideCallback::InsideCallback() { ++callbacks; }
InsideCallback::~InsideCallback() { --callbacks; }

herr_t closeLibrary() {
  if (callbacks > 0) return refuse("H5close", "the library is in use: a callback is running");
  return H5close();
}

}  // namespace hdf5
