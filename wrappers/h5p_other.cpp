// H5P: what data are transferred, datasets accessed, links and names made and objects
// copied with.
#include <array>
#include <string_view>
#include <utility>

#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using List = Id<"property list identifier">;
using PlainList = Id<"property list">;
using Slots = AsSize<std::size_t>;
using Bytes = AsSize<std::size_t>;
using Ratio = AsNumber<double>;

/// Anything but the one answer that says so means that checksums are not verified.
void getErrorDetection(zbArray** outs, const zbArray** ins) {
  const H5Z_EDC_t check = checked(H5Pget_edc_check(List::from(ins[0])));
  outs[0] = zbCreateDoubleScalar(check == H5Z_ENABLE_EDC ? 1 : 0);
}

// --- Transfer lists of the multi driver's members -----------------------------------------

using MemberLists = std::array<hid_t, H5FD_MEM_NTYPES>;

void requireMemberLists(bool present, const char* function) {
  if (!present) raiseRefusal(function, "the linked release of HDF5 no longer has this function");
}

void setMemberLists(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  MemberLists members{};
  if (zbGetNumberOfElements(ins[1]) != members.size()) raise<msg::badNumberOfElementsInDxpl>();
  for (std::size_t i = 0; i < members.size(); ++i) {
    members[i] = identifierFromHost(elementAsDouble(ins[1], i));
  }
  requireMemberLists(hdf5::setMemberTransferLists != nullptr, "H5Pset_dxpl_multi");
  checked(hdf5::setMemberTransferLists(list, members.data()));
}

void getMemberLists(zbArray** outs, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  MemberLists members{};
  requireMemberLists(hdf5::getMemberTransferLists != nullptr, "H5Pget_dxpl_multi");
  checked(hdf5::getMemberTransferLists(list, members.data()));
  outs[0] = makeColumn(members, identifierToHost);
}

/// One flag by name; several together must be a number.
struct CopyOptions {
  static unsigned from(const zbArray* array) {
    if (zbIsNumeric(array)) return getUIntArg(array);
    if (!isText(array)) raise<msg::badCopyObjectType>();
    static constexpr std::pair<std::string_view, unsigned> kFlags[] = {
        {"H5O_COPY_SHALLOW_HIERARCHY_FLAG", H5O_COPY_SHALLOW_HIERARCHY_FLAG},
        {"H5O_COPY_EXPAND_SOFT_LINK_FLAG", H5O_COPY_EXPAND_SOFT_LINK_FLAG},
        {"H5O_COPY_EXPAND_EXT_LINK_FLAG", H5O_COPY_EXPAND_EXT_LINK_FLAG},
        {"H5O_COPY_EXPAND_REFERENCE_FLAG", H5O_COPY_EXPAND_REFERENCE_FLAG},
        {"H5O_COPY_WITHOUT_ATTR_FLAG", H5O_COPY_WITHOUT_ATTR_FLAG},
    };
    const std::string name = textOf(array);
    for (const auto& [known, flag] : kFlags) {
      if (name == known) return flag;
    }
    raise<msg::badCopyOptionsString>();
  }
};

constexpr Row kOtherPropertyFunctions[] = {
    // name                    call                   gives       takes
    {"H5Pget_btree_ratios", wrap<H5Pget_btree_ratios, Outputs<Ratio, Ratio, Ratio>, List>},
    {"H5Pget_char_encoding", wrap<H5Pget_char_encoding, Outputs<AsNumber<H5T_cset_t>>, PlainList>},
    {"H5Pget_chunk_cache", wrap<H5Pget_chunk_cache, Outputs<Slots, Bytes, AsNumber<double>>, List>},
    {"H5Pget_copy_object", wrap<H5Pget_copy_object, Outputs<AsNumber<unsigned>>, List>},
    {"H5Pget_create_intermediate_group",
     wrap<H5Pget_create_intermediate_group, Outputs<AsNumber<unsigned>>,
          Id<"link creation property list identifier">>},
    {"H5Pget_dxpl_multi", rule<1, getMemberLists>},
    {"H5Pget_edc_check", rule<1, getErrorDetection>},
    {"H5Pget_hyper_vector_size",
     wrap<H5Pget_hyper_vector_size, Outputs<AsSize<std::size_t>>, List>},
    {"H5Pget_preserve", wrap<H5Pget_preserve, Number, PlainList>},
    {"H5Pset_btree_ratios", wrap<H5Pset_btree_ratios, Nothing, List, Real, Real, Real>},
    {"H5Pset_char_encoding", wrap<H5Pset_char_encoding, Nothing, PlainList, Enum<H5T_cset_t>>},
    {"H5Pset_chunk_cache", wrap<H5Pset_chunk_cache, Nothing, List, Size, Size, Real>},
    {"H5Pset_copy_object", wrap<H5Pset_copy_object, Nothing, List, CopyOptions>},
    {"H5Pset_create_intermediate_group",
     wrap<H5Pset_create_intermediate_group, Nothing, Id<"link creation property list">, Unsigned>},
    {"H5Pset_dxpl_multi", rule<2, setMemberLists>},
    {"H5Pset_edc_check", wrap<H5Pset_edc_check, Nothing, List, Enum<H5Z_EDC_t>>},
    {"H5Pset_hyper_vector_size", wrap<H5Pset_hyper_vector_size, Nothing, List, Size>},
    {"H5Pset_preserve", wrap<H5Pset_preserve, Nothing, PlainList, Truncated>},
};

}  // namespace

std::span<const Row> otherPropertyFunctions() { return kOtherPropertyFunctions; }

}  // namespace h5gate
