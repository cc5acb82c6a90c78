// What becomes of a process in which bare HDF5 is called, or closed: tried in a child, so
// that the tests outlive it.
#pragma once

#include <functional>

namespace h5test {

/// Whether a child process that runs the action, and then ends in the ordinary way, is
/// killed; a sanitizer's report counts, and so does an endless loop.
bool kills(const std::function<void()>& action);

/// A test in such a child: what it does to the library is done to no other test.
void tryAlone(const std::function<void()>& test);

}  // namespace h5test
