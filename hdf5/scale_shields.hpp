// Dimension scales: functions of HDF5's own form that stand for those of the same purpose.
// HDF5's high-level library keeps scales in attributes and reads these into memory for
// what it has written itself, in every release; whatever else another program, or a
// script, has written there makes it follow what are no pointers, or write beyond its
// memory. So datatype and extent of an attribute are looked at first. One look takes a
// microsecond, a tenth of what these functions do.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

herr_t setScale(hid_t dataset, char* name);
herr_t attachScale(hid_t dataset, hid_t scale, unsigned dimension);
herr_t detachScale(hid_t dataset, hid_t scale, unsigned dimension);
int countScales(hid_t dataset, unsigned dimension);
herr_t iterateScales(hid_t dataset, unsigned dimension, int* index, H5DS_iterate_t visit,
                     void* data);
/// What has no proper class is no scale.
htri_t isScale(hid_t dataset);
ssize_t getScaleName(hid_t scale, char* name, size_t size);
herr_t setDimensionLabel(hid_t dataset, unsigned dimension, const char* label);
/// 1.8 follows a null pointer where the dimension has no label and another one has.
ssize_t getDimensionLabel(hid_t dataset, unsigned dimension, char* label, size_t size);

}  // namespace hdf5
