// Data that HDF5 loses without a word where compounds, arrays and sequences are within each
// other. Its conversions look at what stood in the file before, the background: there they
// find members that are not written, and variable-length data to free. In every release
// from 1.8.6 to 1.14 they take the wrong one in some places:
//
// - Arrays. Those of compounds have one background for all: at the second array it holds
//   the new data of the first, which are freed, and members that are not written are zero.
//   Those of sequences have none, and sequences within take what lies in memory for it.
// - Sequences that become shorter. The first bytes of each element too many are taken for
//   variable-length data, and freed, whatever they are.
// - Compounds without some of the members, in a sequence or an attribute: those members
//   become zero, or whatever lies in memory.
// - Fill values, which have no background unless they are compounds.
//
// Functions of HDF5's own form that stand for those of the same purpose.
#pragma once

#include <functional>

#include "hdf5/compat.hpp"

namespace hdf5 {

/// H5Dwrite: what the data go to the dataset by, the same way each time.
using WriteBytes = std::function<herr_t(const void* data)>;
herr_t writeNested(hid_t dataset, hid_t memoryType, hid_t memorySpace, const void* data,
                   const WriteBytes& write);

/// H5Awrite.
herr_t writeNestedAttribute(hid_t attribute, hid_t memoryType, const void* data);

/// H5Pset_fill_value. When HDF5 fills a dataset is its own business, so what it would lose
/// is refused.
herr_t setFillValue(hid_t list, hid_t type, const void* value);

/// H5Ocopy, which converts data that lead to others into memory and back.
herr_t copyObject(hid_t source, const char* sourceName, hid_t destination,
                  const char* destinationName, hid_t copyList, hid_t linkList);

}  // namespace hdf5
