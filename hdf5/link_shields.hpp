// Links, groups and mounts where a release does not survive what another one refuses or
// does: functions of HDF5's own form that stand for those of the same purpose.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// What is called for each link.
using VisitLink = herr_t (*)(hid_t group, const char* name, const LinkInfo* link, void* data);

/// H5Lvisit and H5Lvisit_by_name. 1.8 frees what it never set up where the group cannot be
/// opened, as one that was deleted.
herr_t visitLinksOf(hid_t group, H5_index_t index, H5_iter_order_t order, VisitLink visit,
                    void* data);
herr_t visitLinksIn(hid_t location, const char* name, H5_index_t index, H5_iter_order_t order,
                    VisitLink visit, void* data, hid_t accessList);

/// H5Lget_name_by_idx. 1.8 frees what it never set up where the object is no group.
ssize_t getLinkName(hid_t location, const char* group, H5_index_t index, H5_iter_order_t order,
                    hsize_t position, char* name, size_t size, hid_t accessList);

/// H5Glink2 and H5Gmove2. Later releases do not take H5G_SAME_LOC for the other location.
herr_t link(hid_t location, const char* name, H5G_link_t type, hid_t newLocation,
            const char* newName);
herr_t move(hid_t location, const char* name, hid_t newLocation, const char* newName);

/// H5Lmove. It looks for the path of the new location, as H5Gmove2 does, which a group that was
/// deleted has not, and follows a null pointer (1.10). One that was opened by a reference has
/// none either: it is opened again by its name.
herr_t moveLink(hid_t location, const char* name, hid_t newLocation, const char* newName,
                hid_t creationList, hid_t accessList);

/// H5Gcreate1. 1.8 cuts a hint of more than 32 bits down to them; later releases refuse it. What
/// does not fit on the disk is refused.
hid_t createGroup(hid_t location, const char* name, size_t sizeHint);

/// H5Gget_objtype_by_idx. Later releases say of a soft link what it leads to.
H5G_obj_t typeByIndex(hid_t location, hsize_t position);

/// Whether the name leads to a group; otherwise there is a record that says so of `function`.
bool leadsToGroup(const char* function, hid_t location, const char* name, hid_t accessList);

}  // namespace hdf5
