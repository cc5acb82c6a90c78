// Where the reference host finds the gateway.
#pragma once

#include "host/call.hpp"

namespace zembra {

/// The gateway's entry point: libh5gate from beside this library, or wherever the
/// system's loader finds it; loaded once. From then on what a script forgot to close
/// is written when the process ends in the ordinary way.
zbExtensionFunction* loadGateway();

}  // namespace zembra
