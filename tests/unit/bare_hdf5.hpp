// What becomes of a process in which bare HDF5 is called: tried in a child, so that the
// tests outlive it.
#pragma once

#include <functional>

namespace h5test {

/// Whether a child process that runs the action, and then ends in the ordinary way, is
/// killed; a sanitizer's report counts, and so does an endless loop.
bool kills(const std::function<void()>& action);

}  // namespace h5test
