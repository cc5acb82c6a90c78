// H5P: how data are transferred and cached: chunk caches, buffers, checksums, and what
// the multi driver's members transfer theirs with.
#include <array>

#include "hdf5/property_shields.hpp"
#include "wrappers/own_row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using List = Id<"property list identifier">;
using PlainList = Id<"property list">;

/// Anything but the one answer that says so means that checksums are not verified.
int verifiesChecksums(hid_t list) {
  return checked(H5Pget_edc_check(list)) == H5Z_ENABLE_EDC ? 1 : 0;
}

// --- Transfer lists of the multi driver's members -------------------------------------

using MemberLists = std::array<hid_t, H5FD_MEM_NTYPES>;

void requireMemberLists(const char* function) {
  if (!hdf5::kMemberTransferLists)
    raiseRefusal(function, "the linked release of HDF5 no longer has this function");
}

struct MemberListIds {
  static MemberLists from(const zbArray* array) {
    MemberLists members{};
    if (zbGetNumberOfElements(array) != members.size())
      raiseAbout<msg::badNumberOfElementsInDxpl>(array);
    for (std::size_t i = 0; i < members.size(); ++i) {
      members[i] = identifierFromHost(elementAsDouble(array, i));
    }
    return members;
  }
};

herr_t setMemberLists(hid_t list, const hid_t* members) {
  requireMemberLists("H5Pset_dxpl_multi");
  return hdf5::setMemberTransferLists(list, members);
}

void getMemberLists(Inputs ins, Results& outs) {
  const auto [list] = take<List>(ins);
  MemberLists members{};
  requireMemberLists("H5Pget_dxpl_multi");
  checked(hdf5::getMemberTransferLists(list, members.data()));
  outs.give(makeColumn(members, identifierToHost));
}

constexpr Row kTransferPropertyFunctions[] = {
    // clang-format off
    //   name                     gives                            takes
    ROW(H5Pget_btree_ratios,      Outputs<double, double, double>, List),
    ROW(H5Pget_chunk_cache,       Outputs<size_t, size_t, double>, List),
    OWN(H5Pget_dxpl_multi,        getMemberLists),
    CALL(H5Pget_edc_check, verifiesChecksums, Number,              List),
    ROW(H5Pget_hyper_vector_size, Outputs<size_t>,                 List),
    ROW(H5Pget_preserve,          Number,                          PlainList),
    SET(H5Pset_btree_ratios,      Nothing,                         List, Real, Real, Real),
    SHIELDED(H5Pset_chunk_cache, hdf5::setChunkCache, Nothing,     List, Size, Size, Real),
    SHIELDED(H5Pset_dxpl_multi, setMemberLists, Nothing,           List, MemberListIds),
    SET(H5Pset_edc_check,         Nothing,                         List, Enum<H5Z_EDC_t>),
    SHIELDED(H5Pset_hyper_vector_size, hdf5::setVectorSize, Nothing, List, Size),
    SET(H5Pset_preserve,          Nothing,                         PlainList, Truncated),
};  // clang-format on

}  // namespace

std::span<const Row> transferPropertyFunctions() { return kTransferPropertyFunctions; }

}  // namespace h5gate
