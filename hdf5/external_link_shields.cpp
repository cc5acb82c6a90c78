#include "hdf5/external_link_shields.hpp"

#include <atomic>
#include <string>

#include "hdf5/error_stack.hpp"
#include "hdf5/files_of_files.hpp"

namespace hdf5 {
namespace {

std::atomic<bool> watching = false;

/// HDF5 looks for the file in the folder of the one with the link, and in the current one.
herr_t lookAtTarget(const char* linkFile, const char* /*linkGroup*/, const char* file,
                    const char* /*object*/, unsigned* flags, hid_t accessList, void* /*nothing*/) {
  std::string beside = linkFile;
  beside.erase(beside.rfind('/') + 1);
  beside += file;
  for (const char* const name : {file, beside.c_str()}) {
    if (const char* trouble = troubleWith(name, accessList)) {
      return refuse("H5L_extern_traverse", trouble);
    }
  }
  // What made the file with the link makes none here; HDF5 forgets it only where nobody looks.
  *flags &= ~(H5F_ACC_TRUNC | H5F_ACC_EXCL);
  return 0;
}

void watch(hid_t list) { H5Pset_elink_cb(list, lookAtTarget, nullptr); }

}  // namespace

void watchExternalLinks() {
  watching = true;
  for (const hid_t list : {H5P_LINK_ACCESS_DEFAULT, H5P_DATASET_ACCESS_DEFAULT,
                           H5P_GROUP_ACCESS_DEFAULT, H5P_DATATYPE_ACCESS_DEFAULT}) {
    watch(list);
  }
}

void watchLinksBy(hid_t accessList) {
  if (!watching || accessList == H5P_DEFAULT) return;
  const KeepErrorStack keep;
  if (H5Pisa_class(accessList, H5P_LINK_ACCESS) > 0) watch(accessList);
}

}  // namespace hdf5
