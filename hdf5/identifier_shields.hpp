// The library's own identifiers: classes and default lists, predefined datatypes, drivers,
// errors. HDF5 lets go of them like of any other, and its own functions find nothing, or
// freed memory, where they were. Up to 1.14 it refuses only H5Tclose and what changes a
// predefined datatype.
#pragma once

#include "hdf5/error_stack.hpp"

namespace hdf5 {

/// Whether nobody but the library has the identifier: there is no reference of a script's
/// to give up, and what it names is not a script's to change.
bool isLibrarys(hid_t id);

/// H5Piterate. HDF5 goes on with a list, or class, that the callback has closed: for as long as
/// it is iterated over, it stays open.
int iterateProperties(hid_t list, int* index, H5P_iterate_t visit, void* data);

/// H5Pclose, H5Pclose_class, H5Oclose and H5Idec_ref.
herr_t closeList(hid_t list);
herr_t closeClass(hid_t listClass);
herr_t closeAnyObject(hid_t object);
int decrementReferences(hid_t id);

/// `Change`, of lists that are not the library's defaults.
template <auto Change>
struct OfOwnList;
template <class... Rest, herr_t (*Change)(hid_t, Rest...)>
struct OfOwnList<Change> {
  static herr_t change(hid_t list, Rest... rest) {
    if (isLibrarys(list)) return refuse("H5Pset", "a default list of HDF5's cannot be changed");
    return Change(list, rest...);
  }
};

}  // namespace hdf5
