// The one exported symbol: name -> table -> handler.
#include <string>
#include <string_view>

#include "gateway/function_table.hpp"
#include "hdf5/compat.hpp"
#include "hdf5/observed_failures.hpp"
#include "host/call.hpp"

#define H5GATE_EXPORT __attribute__((visibility("default")))

extern "C" H5GATE_EXPORT void zebFunction(int nOut, zbArray** outs, int nIn, const zbArray** ins) {
  using namespace h5gate;
  requireArgCount(nIn >= 1);
  if (zbGetClass(ins[0]) != zbClass::Char) raise<msg::firstArgNotChar>();

  // HDF5 is told not to close itself when the process exits, which the host does when it
  // is ready; told once, it remembers. It is told on every call to let its failures be
  // observed and not to print them, because anybody in the process may have told it something
  // else since. Neither call changes the error stack that the last call left.
  [[maybe_unused]] static const herr_t keptFromExit = H5dont_atexit();
  H5Eset_auto2(H5E_DEFAULT, hdf5::observeFailure, nullptr);

  // A name is looked up where it stands; other texts are converted by the host.
  const std::string_view name(static_cast<const char*>(zbGetData(ins[0])),
                              zbGetNumberOfElements(ins[0]));
  const GatewayHandler handler = findHandler(name);
  if (handler == nullptr) raise<msg::invalidOperation>(std::string(name));
  handler(nOut, outs, nIn - 1, ins + 1);
}
