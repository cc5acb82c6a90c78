// The tables of the interfaces, one a source of this folder.
#pragma once

#include <span>

#include "wrappers/handler.hpp"

namespace h5gate {

std::span<const Row> libraryFunctions();           // H5
std::span<const Row> identifierFunctions();        // H5I
std::span<const Row> filterFunctions();            // H5Z
std::span<const Row> constantFunctions();          // H5ZB: named constants, memory datatypes
std::span<const Row> fileFunctions();              // H5F
std::span<const Row> dataspaceFunctions();         // H5S
std::span<const Row> datasetFunctions();           // H5D
std::span<const Row> datatypeFunctions();          // H5T
std::span<const Row> referenceFunctions();         // H5R
std::span<const Row> attributeFunctions();         // H5A
std::span<const Row> groupFunctions();             // H5G
std::span<const Row> linkFunctions();              // H5L
std::span<const Row> objectFunctions();            // H5O
std::span<const Row> errorFunctions();             // H5E
std::span<const Row> propertyListFunctions();      // H5P: lists and classes of any kind
std::span<const Row> creationPropertyFunctions();  // H5P: creating datasets, groups, objects
std::span<const Row> filePropertyFunctions();      // H5P: creating and accessing files
std::span<const Row> transferPropertyFunctions();  // H5P: transferring and caching data
std::span<const Row> linkPropertyFunctions();      // H5P: making links, copying objects
std::span<const Row> dimensionScaleFunctions();    // H5DS

}  // namespace h5gate
