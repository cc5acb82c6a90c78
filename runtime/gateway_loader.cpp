// The gateway is linked to no host: it takes the host's functions from whoever offers
// them to the whole process when it is loaded.
#include "runtime/gateway_loader.hpp"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "hdf5/closing.hpp"

namespace zembra {
namespace {

/// The path that this library was loaded from, empty where the system does not say.
std::string ownPath() {
  Dl_info info{};
  // An address that is surely in here: a program may have its own for exported functions.
  static const char anchor = 0;
  return dladdr(&anchor, &info) == 0 ? "" : info.dli_fname;
}

/// A host that came with somebody's extension module is hidden from all others. Where
/// this fails, the host is part of the program and offered already, or opening the
/// gateway says what it misses.
void offerHost(const std::string& path) {
  dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
}

void* openGateway(const std::string& folder) {
  void* library = dlopen((folder + GATEWAY_FILE).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library != nullptr) return library;
  const std::string complaint = dlerror();
  library = dlopen(GATEWAY_FILE, RTLD_NOW | RTLD_LOCAL);
  if (library != nullptr) return library;
  throw std::runtime_error(complaint + "; " + dlerror());
}

void leaveAtOnce(int status, void* /*unused*/) {
  std::fflush(nullptr);
  _exit(status);
}

void closeLibrary() {
  // Threads that have ended leave references to HDF5's own messages behind, which it would
  // complain of to whomever has not asked it to be quiet, in the very words asked for here.
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  const auto complain = [](const std::string& file, const std::string& reason) {
    std::fprintf(stderr, "zembra: %s could not be written: %s\n", file.c_str(), reason.c_str());
  };
  bool all = false;
  try {
    all = hdf5::closeWhatCanBe(complain);
  } catch (const std::bad_alloc&) {
    std::fputs("zembra: there is no memory to close what is open\n", stderr);
  }
  // HDF5's own handler would try again to write what cannot be written, and not survive it.
  if (!all) endWithoutLibrary();
}

zbExtensionFunction* openEntryPoint() {
  const std::string path = ownPath();
  offerHost(path);
  void* library = openGateway(path.substr(0, path.rfind('/') + 1));
  auto* function = reinterpret_cast<zbExtensionFunction*>(dlsym(library, "zebFunction"));
  if (function == nullptr) throw std::runtime_error(dlerror());
  // The gateway switches HDF5's own exit handler off, and another user of HDF5 in
  // the process may have done so before the library was opened.
  std::atexit(closeLibrary);
  return function;
}

}  // namespace

void endWithoutLibrary() { on_exit(leaveAtOnce, nullptr); }

zbExtensionFunction* loadGateway() {
  static zbExtensionFunction* const function = openEntryPoint();
  return function;
}

}  // namespace zembra
