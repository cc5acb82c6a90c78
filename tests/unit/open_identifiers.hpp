// Open HDF5 identifiers of every kind.
#pragma once

#include <cstddef>

namespace h5test {

/// Every test must end with as many as it began with: the test program checks it.
std::size_t openIdentifiers();

}  // namespace h5test
