// Failures inside HDF5 that leave something behind which later calls do not survive: HDF5 tells
// of each where it fails, and of none afterwards.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// For HDF5 to call wherever a call fails, on this thread or another.
herr_t observeFailure(hid_t stack, void* nothing);

/// Whether a member of a family of files could not be made, since that was `forgotten`.
bool someFamilyLacksMember();
void forgetLackingMembers();

/// Whether a group was given up half made: HDF5 holds its file open then, and knows no more by
/// whom. Closing the library frees half of the file, and leaves the other half where the next
/// file that is opened is compared with it (all releases).
bool someGroupIsHalfMade();

}  // namespace hdf5
