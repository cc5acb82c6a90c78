// The host's warnings as Python's.
#pragma once

namespace zembra::python {

/// From now on the host's warnings go through Python's `warnings`.
void routeWarnings();

}  // namespace zembra::python
