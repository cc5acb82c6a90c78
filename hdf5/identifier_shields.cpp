#include "hdf5/identifier_shields.hpp"

#include "hdf5/closing.hpp"

namespace hdf5 {
namespace {

/// Of lists on this thread, one inside the other.
struct Iteration {
  hid_t list;
  const Iteration* outer;
};
thread_local const Iteration* innermost = nullptr;

bool isIteratedOver(hid_t list) {
  for (const Iteration* one = innermost; one != nullptr; one = one->outer) {
    if (one->list == list) return true;
  }
  return false;
}

/// `close`, called `function`, where there is a reference to give up.
template <class Status>
Status closeUnlessInUse(const char* function, Status (*close)(hid_t), hid_t id) {
  if (isLibrarys(id)) {
    return refuse(function, "the identifier is HDF5's own: there is no reference to give up");
  }
  if (innermost != nullptr && isIteratedOver(id) && H5Iget_ref(id) == 1) {
    return refuse(function, "the list is being iterated over");
  }
  return close(id);
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
  const Iteration iteration = {list, innermost};
  innermost = &iteration;
  const int status = H5Piterate(list, index, visit, data);
  innermost = iteration.outer;
  return status;
}

herr_t closeList(hid_t list) { return closeUnlessInUse("H5Pclose", H5Pclose, list); }

herr_t closeClass(hid_t listClass) {
  return closeUnlessInUse("H5Pclose_class", H5Pclose_class, listClass);
}

herr_t closeAnyObject(hid_t object) {
  return closeUnlessInUse("H5Oclose", closeObject<H5Oclose>, object);
}

int decrementReferences(hid_t id) {
  return closeUnlessInUse("H5Idec_ref", releaseReference, id);
}

}  // namespace hdf5
