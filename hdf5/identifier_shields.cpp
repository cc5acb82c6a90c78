#include "hdf5/identifier_shields.hpp"

#include "hdf5/closing.hpp"

namespace hdf5 {
namespace {

herr_t refuseToClose(const char* function) {
  return refuse(function, "the identifier is HDF5's own: there is no reference to give up");
}

}  // namespace

bool isLibrarys(hid_t id) {
  // Nobody else makes drivers, whose references the library counts as a script's from 1.12 on.
  constexpr int kSerialBits = kWideIdentifiers ? 56 : 24;
  return id > 0 && (id >> kSerialBits == H5I_VFL || H5Iget_ref(id) == 0);
}

herr_t refuseToChange(hid_t id) {
  return H5Iget_type(id) == H5I_DATATYPE
             ? refuse("H5Tset", "a datatype of HDF5's own cannot be changed")
             : refuse("H5Pset", "a list of HDF5's own cannot be changed");
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

herr_t closeType(hid_t type) {
  return isLibrarys(type) ? refuseToClose("H5Tclose") : closeObject<H5Tclose>(type);
}

int decrementReferences(hid_t id) {
  if (isLibrarys(id)) return refuseToClose("H5Idec_ref");
  return releaseReference(id);
}

int incrementReferences(hid_t id) {
  if (H5Iget_type(id) == H5I_GENPROP_LST && isLibrarys(id)) return refuseToChange(id);
  return H5Iinc_ref(id);
}

}  // namespace hdf5
