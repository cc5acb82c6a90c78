// The one place that knows which HDF5 release is underneath (1.8.6 up to 1.14).
// Everything else includes this header and calls the numbered functions of the
// 1.8 interface, or the names below where a release numbered them later.
#pragma once

#include <hdf5.h>
#include <hdf5_hl.h>

// 1.8.6 lacks the version comparison macros.
#ifndef H5_VERSION_GE
#define H5_VERSION_GE(Major, Minor, Release)                                                       \
  (((H5_VERS_MAJOR == (Major)) && (H5_VERS_MINOR == (Minor)) && (H5_VERS_RELEASE >= (Release))) || \
   ((H5_VERS_MAJOR == (Major)) && (H5_VERS_MINOR > (Minor))) || (H5_VERS_MAJOR > (Major)))
#endif

namespace hdf5 {

/// Identifiers grew from 32 to 64 bits with 1.10.
inline constexpr bool kWideIdentifiers = sizeof(hid_t) == 8;

// 1.10.0 numbered these two; the first form is the 1.8 function.
#if H5_VERSION_GE(1, 10, 0)
using FileInfo = H5F_info1_t;
inline constexpr auto getFileInfo = H5Fget_info1;
inline constexpr auto dereference = H5Rdereference1;
#else
using FileInfo = H5F_info_t;
inline constexpr auto getFileInfo = H5Fget_info;
inline constexpr auto dereference = H5Rdereference;
#endif

// 1.10.3 numbered the object queries, 1.12 the link queries and their records.
#if H5_VERSION_GE(1, 12, 0)
using ObjectInfo = H5O_info1_t;
using LinkInfo = H5L_info1_t;
inline constexpr auto getObjectInfo = H5Oget_info1;
inline constexpr auto visitObjects = H5Ovisit1;
inline constexpr auto visitObjectsByName = H5Ovisit_by_name1;
inline constexpr auto getLinkInfo = H5Lget_info1;
inline constexpr auto iterateLinks = H5Literate1;
inline constexpr auto iterateLinksByName = H5Literate_by_name1;
inline constexpr auto visitLinks = H5Lvisit1;
inline constexpr auto visitLinksByName = H5Lvisit_by_name1;
#else
using ObjectInfo = H5O_info_t;
using LinkInfo = H5L_info_t;
#if H5_VERSION_GE(1, 10, 3)
inline constexpr auto getObjectInfo = H5Oget_info1;
inline constexpr auto visitObjects = H5Ovisit1;
inline constexpr auto visitObjectsByName = H5Ovisit_by_name1;
#else
inline constexpr auto getObjectInfo = H5Oget_info;
inline constexpr auto visitObjects = H5Ovisit;
inline constexpr auto visitObjectsByName = H5Ovisit_by_name;
#endif
inline constexpr auto getLinkInfo = H5Lget_info;
inline constexpr auto iterateLinks = H5Literate;
inline constexpr auto iterateLinksByName = H5Literate_by_name;
inline constexpr auto visitLinks = H5Lvisit;
inline constexpr auto visitLinksByName = H5Lvisit_by_name;
#endif

// 1.10 gave up transfer lists for the members of the multi driver: null where absent.
using SetMemberTransferLists = herr_t (*)(hid_t transferList, const hid_t* members);
using GetMemberTransferLists = herr_t (*)(hid_t transferList, hid_t* members);
#if H5_VERSION_GE(1, 10, 0)
inline constexpr SetMemberTransferLists setMemberTransferLists = nullptr;
inline constexpr GetMemberTransferLists getMemberTransferLists = nullptr;
#else
inline constexpr SetMemberTransferLists setMemberTransferLists = H5Pset_dxpl_multi;
inline constexpr GetMemberTransferLists getMemberTransferLists = H5Pget_dxpl_multi;
#endif

}  // namespace hdf5
