// The one place that knows which HDF5 release is underneath (1.8.6 up to 1.14).
// Everything else includes this header and calls the numbered functions of the
// 1.8 interface, or the names below where a release numbered them later.
#pragma once

#include <hdf5.h>
#include <hdf5_hl.h>

#include <cstddef>
#include <cstdint>

// 1.8.6 lacks the version comparison macros.
#ifndef H5_VERSION_GE
#define H5_VERSION_GE(Major, Minor, Release)                                                       \
  (((H5_VERS_MAJOR == (Major)) && (H5_VERS_MINOR == (Minor)) && (H5_VERS_RELEASE >= (Release))) || \
   ((H5_VERS_MAJOR == (Major)) && (H5_VERS_MINOR > (Minor))) || (H5_VERS_MAJOR > (Major)))
#endif

namespace hdf5 {

/// The releases whose behaviour differs: what goes by release asks these.
inline constexpr bool kSince187 = H5_VERSION_GE(1, 8, 7);
inline constexpr bool kSince110 = H5_VERSION_GE(1, 10, 0);
inline constexpr bool kSince112 = H5_VERSION_GE(1, 12, 0);
inline constexpr bool kSince1144 = H5_VERSION_GE(1, 14, 4);

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
inline constexpr auto getLinkInfoByIndex = H5Lget_info_by_idx1;
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
inline constexpr auto getLinkInfoByIndex = H5Lget_info_by_idx;
inline constexpr auto iterateLinks = H5Literate;
inline constexpr auto iterateLinksByName = H5Literate_by_name;
inline constexpr auto visitLinks = H5Lvisit;
inline constexpr auto visitLinksByName = H5Lvisit_by_name;
#endif

/// Of H5Fget_obj_ids. 1.8 looks at the maximum only after it has stored an identifier,
/// for each of the five kinds of objects anew: so many more than asked for at most.
inline constexpr std::size_t kObjectIdsBeyond = kSince110 ? 0 : 5;

/// From 1.14.4 on HDF5 takes numbers that leave most of their bits unused for signs of a
/// corrupt file, unless an access list says that it should not.
inline herr_t trustUnusualNumbers([[maybe_unused]] hid_t accessList) {
#if H5_VERSION_GE(1, 14, 4)
  return H5Pset_relax_file_integrity_checks(accessList, H5F_RFIC_UNUSUAL_NUM_UNUSED_NUMERIC_BITS);
#else
  return 0;
#endif
}

/// 1.8.6 does not say that it only reads the value.
inline herr_t setProperty(hid_t list, const char* name, const void* value) {
  return H5Pset(list, name, const_cast<void*>(value));
}

// 1.10 gave up transfer lists for the members of the multi driver: null where absent, and
// a constant, because compilers object to asking whether a function is there.
using SetMemberTransferLists = herr_t (*)(hid_t transferList, const hid_t* members);
using GetMemberTransferLists = herr_t (*)(hid_t transferList, hid_t* members);
#if H5_VERSION_GE(1, 10, 0)
inline constexpr bool kMemberTransferLists = false;
inline constexpr SetMemberTransferLists setMemberTransferLists = nullptr;
inline constexpr GetMemberTransferLists getMemberTransferLists = nullptr;
#else
inline constexpr bool kMemberTransferLists = true;
inline constexpr SetMemberTransferLists setMemberTransferLists = H5Pset_dxpl_multi;
inline constexpr GetMemberTransferLists getMemberTransferLists = H5Pget_dxpl_multi;
#endif

// Chunks as they are stored came to the library itself with 1.10.3: earlier releases, which
// have nothing of the kind or in another form, fail.
#if H5_VERSION_GE(1, 10, 3)
inline constexpr bool kRawChunks = true;
inline constexpr auto storedChunkBytes = H5Dget_chunk_storage_size;
inline constexpr auto readStoredChunk = H5Dread_chunk;
inline constexpr auto writeStoredChunk = H5Dwrite_chunk;
/// Whether a file was opened for one writer and readers at once.
inline bool isShared(unsigned intent) {
  return (intent & (H5F_ACC_SWMR_READ | H5F_ACC_SWMR_WRITE)) != 0;
}
/// What is special about the chunks at a dataset's edge.
inline herr_t getChunkOptions(hid_t creationList, unsigned* options) {
  return H5Pget_chunk_opts(creationList, options);
}
/// Negative where four vectors do not say all that is selected.
inline herr_t getRegularHyperslab(hid_t space, hsize_t* start, hsize_t* stride, hsize_t* count,
                                  hsize_t* block) {
  if (H5Sis_regular_hyperslab(space) <= 0) return -1;
  return H5Sget_regular_hyperslab(space, start, stride, count, block);
}
#else
inline constexpr bool kRawChunks = false;
inline herr_t storedChunkBytes(hid_t, const hsize_t*, hsize_t*) { return -1; }
inline herr_t readStoredChunk(hid_t, hid_t, const hsize_t*, std::uint32_t*, void*) { return -1; }
inline herr_t writeStoredChunk(hid_t, hid_t, std::uint32_t, const hsize_t*, size_t, const void*) {
  return -1;
}
inline bool isShared(unsigned) { return false; }
inline herr_t getChunkOptions(hid_t, unsigned*) { return -1; }
inline herr_t getRegularHyperslab(hid_t, hsize_t*, hsize_t*, hsize_t*, hsize_t*) { return -1; }
#endif

}  // namespace hdf5
