#include "hdf5/link_shields.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "hdf5/disk_room.hpp"
#include "hdf5/handle.hpp"

namespace hdf5 {
namespace {

using Object = Handle<H5Oclose>;

/// A group whose link was deleted has no path any more.
bool isNameless(hid_t location) {
  return H5Iget_type(location) == H5I_GROUP && H5Iget_name(location, nullptr, 0) == 0;
}

herr_t refuseNameless(const char* function) {
  return refuse(function, "the new location has been deleted");
}

/// The group, with a path: one that was opened by a reference has none, but a name in its file.
Object byItsName(hid_t location) {
  std::string name(
      static_cast<std::size_t>(std::max<ssize_t>(H5Iget_name(location, nullptr, 0), 0)), '\0');
  if (H5Iget_type(location) != H5I_GROUP || name.empty()) return Object();
  H5Iget_name(location, name.data(), name.size() + 1);
  const Handle<H5Fclose> file(H5Iget_file_id(location));
  return Object(H5Oopen(file.get(), name.c_str(), H5P_DEFAULT));
}

/// What HDF5 has said of it stays to be told.
herr_t closeBehind(herr_t status, Object& group) {
  const KeepErrorStack keep;
  group.close();
  return status;
}

hid_t orSame(hid_t location, hid_t other) { return location == H5G_SAME_LOC ? other : location; }

}  // namespace

bool leadsToGroup(const char* function, hid_t location, const char* name, hid_t accessList) {
  Object object(H5Oopen(location, name, accessList));
  if (!object.valid()) return false;
  const bool group = H5Iget_type(object.get()) == H5I_GROUP;
  object.close();
  if (!group) refuse(function, "the name does not lead to a group");
  return group;
}

herr_t visitLinksOf(hid_t group, H5_index_t index, H5_iter_order_t order, VisitLink visit,
                    void* data) {
  if constexpr (kSince110) return visitLinks(group, index, order, visit, data);
  return visitLinksIn(group, ".", index, order, visit, data, H5P_DEFAULT);
}

herr_t visitLinksIn(hid_t location, const char* name, H5_index_t index, H5_iter_order_t order,
                    VisitLink visit, void* data, hid_t accessList) {
  if constexpr (kSince110) {
    return visitLinksByName(location, name, index, order, visit, data, accessList);
  }
  Object group(H5Oopen(location, name, accessList));
  if (!group.valid()) return -1;
  return closeBehind(visitLinks(group.get(), index, order, visit, data), group);
}

ssize_t getLinkName(hid_t location, const char* group, H5_index_t index, H5_iter_order_t order,
                    hsize_t position, char* name, size_t size, hid_t accessList) {
  if (!kSince110 && !leadsToGroup("H5Lget_name_by_idx", location, group, accessList)) return -1;
  return H5Lget_name_by_idx(location, group, index, order, position, name, size, accessList);
}

herr_t link(hid_t location, const char* name, H5G_link_t type, hid_t newLocation,
            const char* newName) {
  return H5Glink2(orSame(location, newLocation), name, type, orSame(newLocation, location),
                  newName);
}

herr_t move(hid_t location, const char* name, hid_t newLocation, const char* newName) {
  const hid_t target = orSame(newLocation, location);
  if (isNameless(target)) return refuseNameless("H5Gmove2");
  Object named = byItsName(target);
  return closeBehind(
      H5Gmove2(orSame(location, newLocation), name, named.valid() ? named.get() : target, newName),
      named);
}

herr_t moveLink(hid_t location, const char* name, hid_t newLocation, const char* newName,
                hid_t creationList, hid_t accessList) {
  const hid_t target = newLocation == H5L_SAME_LOC ? location : newLocation;
  if (isNameless(target)) return refuseNameless("H5Lmove");
  Object named = byItsName(target);
  return closeBehind(H5Lmove(location, name, named.valid() ? named.get() : newLocation, newName,
                             creationList, accessList),
                     named);
}

hid_t createGroup(hid_t location, const char* name, size_t sizeHint) {
  if (!kSince110 && sizeHint > std::numeric_limits<std::uint32_t>::max()) {
    return refuse("H5Gcreate1", "the size hint has more than 32 bits");
  }
  if (!hasRoomForNames(location, sizeHint)) return H5I_INVALID_HID;
  return H5Gcreate1(location, name, sizeHint);
}

H5G_obj_t typeByIndex(hid_t location, hsize_t position) {
  if constexpr (kSince112) {
    LinkInfo info{};
    if (getLinkInfoByIndex(location, ".", H5_INDEX_NAME, H5_ITER_INC, position, &info,
                           H5P_DEFAULT) < 0) {
      return H5G_UNKNOWN;
    }
    if (info.type == H5L_TYPE_SOFT) return H5G_LINK;
    if (info.type != H5L_TYPE_HARD) return H5G_UDLINK;
  }
  return H5Gget_objtype_by_idx(location, position);
}

}  // namespace hdf5
