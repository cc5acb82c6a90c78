#include "hdf5/identifier_shields.hpp"

#include "hdf5/closing.hpp"

namespace hdf5 {
namespace {

herr_t refuseToClose(const char* function) {
  return refuse(function, "the identifier is HDF5's own: there is no reference to give up");
}

}  // namespace

bool isLibrarys(hid_t id) {
  // The library makes its own first, two dozen lists, and a few hundred errors: for others
  // the number says no without a question.
  constexpr int kSerialBits = kWideIdentifiers ? 56 : 24;
  constexpr hid_t kSerial = (hid_t{1} << kSerialBits) - 1;
  // Nobody else makes drivers, whose references the library counts as a script's from 1.12 on.
  if (id > 0 && id >> kSerialBits == H5I_VFL) return true;
  const hid_t most = id >> kSerialBits == H5I_GENPROP_LST ? 32 : 1024;
  return id > 0 && (id & kSerial) < most && H5Iget_ref(id) == 0;
}

int iterateProperties(hid_t list, int* index, H5P_iterate_t visit, void* data) {
  const InUse used(list);
  return H5Piterate(list, index, visit, data);
}

herr_t closeList(hid_t list) {
  return isLibrarys(list) ? refuseToClose("H5Pclose") : closeObject<H5Pclose>(list);
}

herr_t closeClass(hid_t listClass) {
  return isLibrarys(listClass) ? refuseToClose("H5Pclose_class")
                               : closeObject<H5Pclose_class>(listClass);
}

herr_t closeAnyObject(hid_t object) {
  if (isLibrarys(object)) return refuseToClose("H5Oclose");
  return closeObject<H5Oclose>(object);
}

int decrementReferences(hid_t id) {
  if (isLibrarys(id)) return refuseToClose("H5Idec_ref");
  return releaseReference(id);
}

}  // namespace hdf5
