// Dimension scales. HDF5's high-level library keeps them in attributes and reads these into
// memory for what it has written itself, in every release; whatever else another program, or
// a script, has written there makes it follow what are no pointers, or write beyond its
// memory. So datatype and extent of an attribute are looked at first. One look takes a
// microsecond, a tenth of what these functions do.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

// Whether the attributes are what they should be, or absent.

/// Those that make a dataset a scale.
bool isSoundScale(hid_t scale);
/// Those that tell a scale's name.
bool isSoundlyNamed(hid_t scale);
/// Those that lead from a dataset to its scales, and back.
bool areSound(hid_t dataset, hid_t scale);
bool hasSoundScales(hid_t dataset);
/// Those that hold the labels of dimensions.
bool hasSoundLabels(hid_t dataset);
/// For what looks by itself.
inline bool anySound() { return true; }

// Functions of HDF5's own form that stand for those of the same purpose.

/// What has no proper class is no scale.
htri_t isScale(hid_t dataset);
/// 1.8 follows a null pointer where the dimension has no label and another one has.
ssize_t getDimensionLabel(hid_t dataset, unsigned dimension, char* label, size_t size);

}  // namespace hdf5
