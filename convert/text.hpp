// Text arguments and results.
#pragma once

#include <string>

#include "host/array.hpp"

namespace h5gate {

bool isText(const zbArray* array);

/// The host's own conversion, without a class test before it.
std::string textOf(const zbArray* array);

/// Text, or `notString` with the description; `inputArrayNotChar` without one.
std::string getStringArg(const zbArray* array, const char* description = nullptr);

zbArray* makeText(const std::string& text);

}  // namespace h5gate
