// H5L: links.
#include "convert/record.hpp"
#include "hdf5/link_shields.hpp"
#include "wrappers/iteration.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using GroupId = Id<"group identifier">;
using LocationId = Id<"location identifier">;
using GroupName = Text<"group name">;
using LinkName = Text<"link name">;
using ObjectName = Text<"object name">;
using CreationList = ObjectList<"link creation property list">;
using AccessList = ObjectList<"link access property list">;
using AccessListId = ObjectList<"link access property list identifier">;
using Index = Enum<H5_index_t>;
using Order = Enum<H5_iter_order_t>;
using Start = InOut<OrZero<Size>>;
// The quotation marks belong to the description.
using Nth = StrictSize<"\"initial offset within index\"">;

/// An identifier, or "H5L_SAME_LOC" for the other end's location.
template <Description D>
struct Location {
  static hid_t from(const zbArray* array) {
    if (isText(array) && getStringArg(array, "location") == "H5L_SAME_LOC") return H5L_SAME_LOC;
    return getHidArg(array, D.text);
  }
};
using LinkLocation = Location<"link location identifier">;
using Source = Location<"source location identifier">;
using SourceName = Text<"source name">;
using Destination = Location<"destination location identifier">;
using DestinationName = Text<"destination name">;

// --- What a link is -------------------------------------------------------------------

/// Hard links have an address where the others have a value.
template <bool Hard>
constexpr Field<hdf5::LinkInfo> kLinkInfo[] = {
    {"type", numberOf<&hdf5::LinkInfo::type>},
    {"corder_valid",
     [](const hdf5::LinkInfo& info) { return zbCreateLogicalScalar(info.corder_valid != 0); }},
    {"corder", numberOf<&hdf5::LinkInfo::corder>},
    {"cset", numberOf<&hdf5::LinkInfo::cset>},
    {Hard ? "address" : "val_size",
     [](const hdf5::LinkInfo& info) {
       return makeNumber(Hard ? info.u.address : info.u.val_size);
     }},
};

void getInfo(Inputs ins, Results& outs) {
  const auto [location, name, accessList] = take<LocationId, LinkName, AccessList>(ins);
  hdf5::LinkInfo info{};
  checked(hdf5::getLinkInfo(location, name.c_str(), &info, accessList));
  outs.give(info.type == H5L_TYPE_HARD ? makeRecord(kLinkInfo<true>, info)
                                       : makeRecord(kLinkInfo<false>, info));
}

/// An n-by-1 cell of texts.
zbArray* makeTexts(std::initializer_list<const char*> texts) {
  const std::size_t shape[] = {texts.size(), 1};
  zbArray* cell = zbCreateCellArray(2, shape);
  std::size_t index = 0;
  for (const char* text : texts) zbSetCell(cell, index++, zbCreateString(text));
  return cell;
}

/// {file; path}
zbArray* makeExternalValue(const std::string& value) {
  unsigned flags = 0;
  const char* file = nullptr;
  const char* path = nullptr;
  checked(H5Lunpack_elink_val(value.data(), value.size(), &flags, &file, &path));
  return makeTexts({file, path});
}

/// {path} of a soft link, {file; path} of an external one, empty text of all others.
void getValue(Inputs ins, Results& outs) {
  const auto [location, name, accessList] = take<LocationId, LinkName, AccessList>(ins);
  hdf5::LinkInfo info{};
  checked(hdf5::getLinkInfo(location, name.c_str(), &info, accessList));
  std::string value;
  if (info.type != H5L_TYPE_HARD) {
    value.resize(info.u.val_size + 1);  // a NUL stands behind every value
    checked(H5Lget_val(location, name.c_str(), value.data(), value.size(), accessList));
  }
  switch (info.type) {
    case H5L_TYPE_SOFT: return outs.give(makeTexts({value.c_str()}));
    case H5L_TYPE_EXTERNAL: return outs.give(makeExternalValue(value));
    default: return outs.give(makeText(""));
  }
}

// --- Iteration ------------------------------------------------------------------------

constexpr auto callHost = trappedAdapter<keepReport, IdInput, NameInput, NotPassed<hdf5::LinkInfo>>;

/// Only files and groups have links to visit.
struct FileOrGroup {
  static constexpr std::size_t inputs = 0;  // looks once more at one that was taken
  struct Passed {
    [[nodiscard]] static auto arguments() { return std::tuple(); }
  };
  static Passed from(const zbArray* location) {
    const H5I_type_t type = H5Iget_type(LocationId::from(location));
    if (type < 0) raiseFailed<msg::invalidLocation>();
    if (type != H5I_FILE && type != H5I_GROUP) raiseAbout<msg::invalidLocation>(location);
    return {};
  }
};

/// Both identifiers come first, and with them their complaints.
herr_t visitByName(hid_t location, hid_t accessList, const char* group, H5_index_t index,
                   H5_iter_order_t order, decltype(callHost) visit, void* data) {
  return hdf5::visitLinksIn(location, group, index, order, visit, data, accessList);
}

using WithData = FunctionAndData<callHost>;
/// Unlike the others, it reports nothing where no host function failed.
using WithDataUnreported = FunctionAndData<callHost, "">;

constexpr Row kLinkFunctions[] = {
    // clang-format off
    //  name                gives         takes
    ROW(H5Lcopy,            Nothing,      Source, SourceName, Destination, DestinationName,
                                          CreationList, AccessList),
    ROW(H5Lcreate_external, Nothing,      Text<"file name">, ObjectName,
                                          Id<"link location identifier">, LinkName,
                                          CreationList, AccessList),
    ROW(H5Lcreate_hard,     Nothing,      Id<"object location identifier">, ObjectName,
                                          LinkLocation, LinkName, CreationList, AccessList),
    ROW(H5Lcreate_soft,     Nothing,      Text<"target path">, LinkLocation, LinkName,
                                          CreationList, AccessList),
    ROW(H5Ldelete,          Nothing,      LocationId, LinkName, AccessList),
    ROW(H5Lexists,          Number,       LocationId, Text<"location name">, AccessList),
    OWN(H5Lget_info,        getInfo),
    CALL(H5Lget_name_by_idx, hdf5::getLinkName, BufferedText, LocationId, ObjectName, Index,
                                          Order, Nth, Buffer, AccessListId),
    OWN(H5Lget_val,         getValue),
    // Only the destination may be the same location.
    CALL(H5Lmove, hdf5::moveLink, Nothing, Id<"source location identifier">, SourceName,
                                          Destination, DestinationName, CreationList, AccessList),

    //   name                calls                     gives
    //                       takes
    CALL(H5Literate,         hdf5::iterateLinks,       WalkedOr<msg::linkIterationFailure>,
                             GroupId, Index, Order, Start, WithDataUnreported),
    CALL(H5Literate_by_name, hdf5::iterateLinksByName, WalkedOr<msg::linkIterationByNameFailure>,
                             LocationId, GroupName, Index, Order, Start, WithData, AccessList),
    CALL(H5Lvisit,           hdf5::visitLinksOf,       WalkedOr<msg::linkVisitFailure>,
                             GroupId, Index, Order, WithData),
    CALL(H5Lvisit_by_name,   visitByName,              WalkedOr<msg::linkVisitationByNameFailure>,
                             LocationId, At<6, AccessList>, At<0, FileOrGroup>, At<1, GroupName>,
                             At<2, Index>, At<3, Order>, At<4, WithData>),
};  // clang-format on

}  // namespace

std::span<const Row> linkFunctions() { return kLinkFunctions; }

}  // namespace h5gate
