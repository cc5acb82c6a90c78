#include "hdf5/closing.hpp"

#include <algorithm>
#include <atomic>
#include <vector>

#include "hdf5/error_stack.hpp"
#include "hdf5/handle.hpp"

namespace hdf5 {
namespace {

constexpr unsigned kObjects = H5F_OBJ_ALL & ~static_cast<unsigned>(H5F_OBJ_FILE);

/// Whether some file was closed before its objects: without such a file, closing an object
/// closes nothing else, and nobody has to ask.
std::atomic<bool> fileAwaitsObjects = false;

thread_local const InUse* innermost = nullptr;

herr_t refuseToClose() {
  return refuse("H5Idec_ref", "the identifier is in use: a callback of an iteration is running");
}

/// In the file, or in all of them.
std::vector<hid_t> openIdentifiers(hid_t file, unsigned kinds) {
  const auto count = static_cast<std::size_t>(std::max<ssize_t>(H5Fget_obj_count(file, kinds), 0));
  std::vector<hid_t> ids(count + kObjectIdsBeyond);
  const ssize_t given = count == 0 ? 0 : H5Fget_obj_ids(file, kinds, count, ids.data());
  ids.resize(std::min(count, static_cast<std::size_t>(std::max<ssize_t>(given, 0))));
  return ids;
}

void giveUp(hid_t id) {
  while (H5Iget_ref(id) > 0 && H5Idec_ref(id) >= 0) {
  }
}

/// Whether the identifier is of something in a file, or a file.
bool isInFile(hid_t id) {
  switch (H5Iget_type(id)) {
    case H5I_FILE:
    case H5I_GROUP:
    case H5I_DATASET:
    case H5I_ATTR: return true;
    case H5I_DATATYPE: return H5Tcommitted(id) > 0;
    default: return false;
  }
}

// --- Lists -------------------------------------------------------------------------------

bool namesMembers(hid_t list) {
  if (H5Pisa_class(list, H5P_FILE_ACCESS) <= 0) return false;
  const hid_t driver = H5Pget_driver(list);
  return driver == H5FD_MULTI || driver == H5FD_FAMILY;
}

/// A list of a virtual dataset has spaces of its own, which HDF5 looks for after it has closed
/// all spaces.
bool isVirtual([[maybe_unused]] hid_t list) {
#if H5_VERSION_GE(1, 10, 0)
  return H5Pisa_class(list, H5P_DATASET_CREATE) > 0 && H5Pget_layout(list) == H5D_VIRTUAL;
#else
  return false;
#endif
}

/// HDF5 does not tell which lists are open. A fresh one has the highest serial number.
void closeLists() {
  constexpr int kSerialBits = kWideIdentifiers ? 56 : 24;
  const PropertyList newest(H5Pcreate(H5P_FILE_ACCESS));
  if (!newest.valid()) return;  // somebody has closed the class
  for (hid_t id = newest.get() >> kSerialBits << kSerialBits; id < newest.get(); ++id) {
    if (H5Iis_valid(id) <= 0) continue;
    if (namesMembers(id)) H5Pset_fapl_sec2(id);
    if (isVirtual(id)) giveUp(id);
  }
}

// --- Files -------------------------------------------------------------------------------

/// The description of the innermost record of the error stack.
std::string innermostReason() {
  std::string reason;
  const auto keepFirst = [](unsigned /*position*/, const H5E_error2_t* record, void* first) {
    auto& text = *static_cast<std::string*>(first);
    if (text.empty() && record->desc != nullptr) text = record->desc;
    return herr_t{0};
  };
  walkErrors(H5E_DEFAULT, H5E_WALK_UPWARD, keepFirst, &reason);
  std::ranges::replace(reason, '\n', ' ');
  return reason;
}

std::string nameOf(hid_t object) {
  const ssize_t length = H5Fget_name(object, nullptr, 0);
  std::string name(static_cast<std::size_t>(std::max<ssize_t>(length, 0)), '\0');
  if (length > 0) H5Fget_name(object, name.data(), name.size() + 1);
  return name;
}

/// What HDF5 itself has left open it would complain of to whomever looks at its failures.
herr_t closeInSilence() {
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  return H5close();
}

/// Whether the system would not do what a driver asked of it.
bool tellsOfTransfer(hid_t stack) {
  bool found = false;
  const auto look = [](unsigned /*position*/, const H5E_error2_t* record, void* data) -> herr_t {
    if (record->maj_num == H5E_IO) *static_cast<bool*>(data) = true;
    return 0;
  };
  H5Ewalk2(stack, H5E_WALK_UPWARD, look, &found);
  return found;
}

bool flushAll() {
  return std::ranges::all_of(openIdentifiers(H5F_OBJ_ALL, H5F_OBJ_ALL), [](hid_t id) {
    return !isInFile(id) || flush(id, H5F_SCOPE_GLOBAL) >= 0;
  });
}

}  // namespace

InUse::InUse(hid_t id) : id_(id), outer_(innermost) { innermost = this; }
InUse::~InUse() { innermost = outer_; }

bool isLastOfUsed(hid_t id) {
  for (const InUse* one = innermost; one != nullptr; one = one->outer_) {
    if (one->id_ == id) return H5Iget_ref(id) == 1;
  }
  return false;
}

herr_t flush(hid_t object, H5F_scope_t scope) {
  if (H5Fflush(object, scope) >= 0) return 0;
  const hid_t reasons = H5Eget_current_stack();
  if (!tellsOfTransfer(reasons) && H5Fflush(object, scope) >= 0) {
    H5Eclose_stack(reasons);
    return 0;
  }
  H5Eset_current_stack(reasons);
  return -1;
}

herr_t prepareToClose(hid_t object) {
  if (isLastOfUsed(object)) return refuseToClose();
  if (!fileAwaitsObjects || H5Iget_ref(object) != 1 || !isInFile(object)) return 0;
  return flush(object, H5F_SCOPE_GLOBAL);
}

herr_t closeFile(hid_t file) {
  if (isLastOfUsed(file)) return refuseToClose();
  if (H5Iget_type(file) == H5I_FILE && H5Iget_ref(file) == 1) {
    if (flush(file, H5F_SCOPE_GLOBAL) < 0) return -1;
    if (H5Fget_obj_count(file, kObjects) > 0) fileAwaitsObjects = true;
  }
  return H5Fclose(file);
}

int releaseReference(hid_t id) {
  if (isLastOfUsed(id)) return refuseToClose();
  if (H5Iget_ref(id) == 1 && isInFile(id) && flush(id, H5F_SCOPE_GLOBAL) < 0) return -1;
  return H5Idec_ref(id);
}

herr_t closeEverything(bool andLibrary) {
  if (!flushAll()) return -1;
  std::ranges::for_each(openIdentifiers(H5F_OBJ_ALL, kObjects), giveUp);
  std::ranges::for_each(openIdentifiers(H5F_OBJ_ALL, H5F_OBJ_FILE), giveUp);
  closeLists();
  return andLibrary ? closeInSilence() : 0;
}

bool closeWhatCanBe(const Complaint& complain) {
  bool all = true;
  for (const hid_t file : openIdentifiers(H5F_OBJ_ALL, H5F_OBJ_FILE)) {
    if (flush(file, H5F_SCOPE_GLOBAL) < 0) {
      const std::string reason = innermostReason();  // before it is cleared
      complain(nameOf(file), reason);
      all = false;
      continue;
    }
    std::ranges::for_each(openIdentifiers(file, kObjects), giveUp);
    giveUp(file);
  }
  // What is left is in files that were closed before, or cannot be.
  for (const hid_t object : openIdentifiers(H5F_OBJ_ALL, kObjects)) {
    if (!isInFile(object) || flush(object, H5F_SCOPE_GLOBAL) >= 0) {
      giveUp(object);
    } else if (all) {
      const std::string reason = innermostReason();
      complain(nameOf(object), reason);
      all = false;
    }
  }
  closeLists();
  if (all) closeInSilence();
  return all;
}

}  // namespace hdf5
