// References: bytes that a script may have from anywhere.
#pragma once

#include "hdf5/error_stack.hpp"

namespace hdf5 {

/// Whether the bytes of a region reference lead to a region of the location's file. Before
/// 1.14.4 HDF5 takes the index that they hold into a collection of the global heap without
/// looking how many objects the collection has; and in every release it reads as many
/// coordinates as what it finds there says.
bool leadsToRegion(hid_t location, const void* reference);

/// Whether an object reference leads into the location's file. Where that is a family of files,
/// 1.8 reads a member that there is not.
bool leadsIntoFile(hid_t location, const void* reference);

/// H5Rdereference, H5Rget_name, H5Rget_obj_type and H5Rget_region, whichever `Follow` is.
template <auto Follow>
struct OfSoundReference;
template <class Answer, class... Rest, Answer (*Follow)(hid_t, H5R_type_t, const void*, Rest...)>
struct OfSoundReference<Follow> {
  static Answer follow(hid_t location, H5R_type_t type, const void* reference, Rest... rest) {
    if (type == H5R_DATASET_REGION && !leadsToRegion(location, reference)) {
      return static_cast<Answer>(refuse("H5HG_read", "the reference is to no region of this file"));
    }
    if (!kSince110 && type == H5R_OBJECT && !leadsIntoFile(location, reference)) {
      return static_cast<Answer>(refuse("H5O_load", "the reference is to no object of this file"));
    }
    return Follow(location, type, reference, rest...);
  }
};

}  // namespace hdf5
