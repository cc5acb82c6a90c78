// Closing what is to be written out. Where HDF5 cannot write while it closes (the disk is
// full, say), it frees half of what it has and leaves identifiers on it: what was written is
// lost, and the next call that meets such an identifier does not survive. So everything is
// flushed first; what cannot be flushed stays open and as it was.
#pragma once

#include <functional>
#include <string>

#include "hdf5/compat.hpp"

namespace hdf5 {

/// For as long as HDF5 waits for a callback, on this thread, and goes on with the identifier
/// then: it is not to be closed.
class InUse {
 public:
  explicit InUse(hid_t id);
  ~InUse();
  InUse(const InUse&) = delete;
  InUse& operator=(const InUse&) = delete;

 private:
  friend bool isLastOfUsed(hid_t id);
  hid_t id_;
  const InUse* outer_;
};
/// Whether it is, and has no other reference.
bool isLastOfUsed(hid_t id);

/// H5Fflush. A failed flush leaves 1.10 in a state that the next one complains of, whatever
/// it could write, and mends: that one is no failure. What the system has refused to do is
/// one, though the next flush may find nothing left to do: a chunk is given up then.
herr_t flush(hid_t object, H5F_scope_t scope);

/// H5Fclose.
herr_t closeFile(hid_t file);

/// H5Idec_ref. The last reference of an object may be the last that kept its file open.
int releaseReference(hid_t id);

/// `Close` of objects in files, which may keep a file open that was closed before them.
template <herr_t (*Close)(hid_t)>
herr_t closeObject(hid_t object);

/// H5close. HDF5 does not survive it where a file that consists of files is open (the multi,
/// split and family drivers), or a list that names members of such, or one of a virtual dataset:
/// it closes what these consist of by functions that find the library closed already. So these
/// are closed while it is still open. Without the library, it stays open, empty as it is.
herr_t closeEverything(bool andLibrary);

/// What could not be written, and HDF5's reason.
using Complaint = std::function<void(const std::string& file, const std::string& reason)>;

/// The same at the end of the process, as far as it goes. False where a file that cannot be
/// written was complained of and is left open: HDF5 must not come near it again.
bool closeWhatCanBe(const Complaint& complain);

// --- Implementation ----------------------------------------------------------------------

/// Flushes what the last reference to the object keeps open; refuses where it is in use.
herr_t prepareToClose(hid_t object);

template <herr_t (*Close)(hid_t)>
herr_t closeObject(hid_t object) {
  return prepareToClose(object) < 0 ? -1 : Close(object);
}

}  // namespace hdf5
