// Calls of the gateway, and what they are about in words.
#pragma once

#include <string>
#include <vector>

#include "runtime/array.hpp"

namespace fuzz {

using zembra::Value;
using Values = std::vector<Value>;

/// Throws what the host raises.
Values call(const std::string& function, const Values& arguments, int nOut = 1);

std::string textOf(const Value& value);
Values cellsOf(const Value& cell);
/// As a script would write the value, shortened.
std::string inWords(const Value& value);
std::string inWords(const Values& values);

}  // namespace fuzz
