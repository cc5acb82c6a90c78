// HDF5's error stack as records.
#pragma once

#include <string>
#include <vector>

#include "runtime/host_error.hpp"

namespace zembra {

/// The current error stack, innermost record first. It stays as it is.
std::vector<ErrorRecord> currentErrorRecords();

/// What they say, in a line: which call failed and the most telling record of why; empty
/// without records.
std::string leadingLine(const std::vector<ErrorRecord>& records);

}  // namespace zembra
