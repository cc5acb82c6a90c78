// The tables of the interfaces, one a source of this folder.
#pragma once

#include <span>

#include "gateway/handler.hpp"

namespace h5gate {

std::span<const Row> gatewayFunctions();    // H5ZB: the gateway's own
std::span<const Row> libraryFunctions();    // H5, H5I, H5Z
std::span<const Row> fileFunctions();       // H5F
std::span<const Row> dataspaceFunctions();  // H5S
std::span<const Row> datasetFunctions();    // H5D

}  // namespace h5gate
