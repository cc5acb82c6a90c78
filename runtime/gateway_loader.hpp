// Where the reference host finds the gateway.
#pragma once

#include "host/call.hpp"

namespace zembra {

/// The gateway's entry point: libh5gate from beside this library, or wherever the
/// system's loader finds it; loaded once. From then on what a script forgot to close
/// is written when the process ends in the ordinary way.
zbExtensionFunction* loadGateway();

/// From here on the process ends, with the status that it has, without the exit handlers that
/// were installed so far, HDF5's among them: for when HDF5 must not be called any more.
void endWithoutLibrary();

}  // namespace zembra
