// The library's own identifiers: classes and default lists, predefined datatypes, drivers,
// errors, the lists and datatypes of what is open. No function gives them to a script, which can
// guess them all the same: they are numbered like its own. HDF5 lets go of them, and changes
// them, like any other, and its own functions find nothing, or freed memory, where they were. Up
// to 1.14 it refuses only to close or change predefined datatypes.
#pragma once

#include "hdf5/error_stack.hpp"

namespace hdf5 {

/// Whether nobody but the library has the identifier: there is no reference of a script's
/// to give up, and what it names is not a script's to change.
bool isLibrarys(hid_t id);

/// H5Piterate. HDF5 goes on with a list, or class, that the callback has closed: for as long as
/// it is iterated over, it stays open.
int iterateProperties(hid_t list, int* index, H5P_iterate_t visit, void* data);

/// H5Pclose, H5Pclose_class, H5Oclose, H5Tclose and H5Idec_ref.
herr_t closeList(hid_t list);
herr_t closeClass(hid_t listClass);
herr_t closeAnyObject(hid_t object);
herr_t closeType(hid_t type);
int decrementReferences(hid_t id);
/// H5Iinc_ref. Lists of the library's stay the library's.
int incrementReferences(hid_t id);

/// For lists and datatypes that are the library's.
herr_t refuseToChange(hid_t id);

/// `Change`, of a script's own lists and datatypes.
template <auto Change>
struct OfOwn;
template <class... Rest, herr_t (*Change)(hid_t, Rest...)>
struct OfOwn<Change> {
  static herr_t change(hid_t id, Rest... rest) {
    return isLibrarys(id) ? refuseToChange(id) : Change(id, rest...);
  }
};

}  // namespace hdf5
