// H5L: links.
#include "convert/callbacks.hpp"
#include "convert/record.hpp"
#include "convert/two_calls.hpp"
#include "wrappers/link_value.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using GroupId = Id<"group identifier">;
using LocationId = Id<"location identifier">;
using GroupName = Text<"group name">;
using LinkName = Text<"link name">;
using CreationList = ObjectList<"link creation property list">;
using AccessList = ObjectList<"link access property list">;
using Index = Enum<H5_index_t>;
using Order = Enum<H5_iter_order_t>;
using Start = OrZero<Size>;

/// An identifier, or "H5L_SAME_LOC" for the other end's location.
template <Description D>
struct Location {
  static hid_t from(const zbArray* array) {
    if (isText(array) && getStringArg(array, "location") == "H5L_SAME_LOC") return H5L_SAME_LOC;
    return getHidArg(array, D.text);
  }
};
using LinkLocation = Location<"link location identifier">;
using LinkDestination = Location<"destination location identifier">;

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
       return makeSizeResult(Hard ? info.u.address : info.u.val_size);
     }},
};

hdf5::LinkInfo linkInfo(hid_t location, const std::string& name, hid_t accessList) {
  hdf5::LinkInfo info{};
  checked(hdf5::getLinkInfo(location, name.c_str(), &info, accessList));
  return info;
}

void getInfo(zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const std::string name = LinkName::from(ins[1]);
  const hdf5::LinkInfo info = linkInfo(location, name, AccessList::from(ins[2]));
  outs[0] = info.type == H5L_TYPE_HARD ? makeRecord(kLinkInfo<true>, info)
                                       : makeRecord(kLinkInfo<false>, info);
}

/// An n-by-1 cell of texts.
zbArray* makeTexts(std::initializer_list<const char*> texts) {
  const std::size_t shape[] = {texts.size(), 1};
  zbArray* cell = zbCreateCellArray(2, shape);
  std::size_t index = 0;
  for (const char* text : texts) zbSetCell(cell, index++, zbCreateString(text));
  return cell;
}

/// {path} of a soft link, {file; path} of an external one, empty text of all others.
void getValue(zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const std::string name = LinkName::from(ins[1]);
  const hid_t accessList = AccessList::from(ins[2]);
  const hdf5::LinkInfo info = linkInfo(location, name, accessList);
  if (info.type == H5L_TYPE_HARD) {
    outs[0] = makeText("");
    return;
  }
  const std::string value = readLinkValue(info, [&](char* buffer, std::size_t size) {
    return H5Lget_val(location, name.c_str(), buffer, size, accessList);
  });
  if (info.type == H5L_TYPE_SOFT) {
    outs[0] = makeTexts({value.c_str()});
  } else if (info.type == H5L_TYPE_EXTERNAL) {
    unsigned flags = 0;
    const char* file = nullptr;
    const char* path = nullptr;
    checked(H5Lunpack_elink_val(value.data(), value.size(), &flags, &file, &path));
    outs[0] = makeTexts({file, path});
  } else {
    outs[0] = makeText("");
  }
}

void getNameByIndex(zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const std::string group = Text<"object name">::from(ins[1]);
  const auto index = Index::from(ins[2]);
  const auto order = Order::from(ins[3]);
  // The quotation marks belong to the description.
  const hsize_t position = getStrictSizeArg(ins[4], "\"initial offset within index\"");
  const hid_t accessList = ObjectList<"link access property list identifier">::from(ins[5]);
  outs[0] = makeText(readText(
      [&](char* buffer, std::size_t size) {
        return H5Lget_name_by_idx(location, group.c_str(), index, order, position, buffer, size,
                                  accessList);
      },
      kChecked));
}

// --- Iteration ---------------------------------------------------------------------------

constexpr auto callHost = trappedAdapter<keepReport, IdInput, NameInput, NotPassed<hdf5::LinkInfo>>;

/// Without a callback that failed there is nothing to report, unlike in the others.
void iterate(int nOut, zbArray** outs, const zbArray** ins) {
  const hid_t group = GroupId::from(ins[0]);
  const auto index = Index::from(ins[1]);
  const auto order = Order::from(ins[2]);
  hsize_t position = Start::from(ins[3]);
  CallbackContext context(ins[4], ins[5], "");
  const herr_t status = context.succeeded<msg::linkIterationFailure>(
      hdf5::iterateLinks(group, index, order, &position, callHost, &context));
  storeRequested(nOut, outs,
                 {zbCreateDoubleScalar(status), makeSizeResult(position), context.userData});
}

void iterateByName(int nOut, zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const std::string group = GroupName::from(ins[1]);
  const auto index = Index::from(ins[2]);
  const auto order = Order::from(ins[3]);
  hsize_t position = Start::from(ins[4]);
  const hid_t accessList = AccessList::from(ins[7]);
  CallbackContext context(ins[5], ins[6]);
  const herr_t status = context.succeeded<msg::linkIterationByNameFailure>(hdf5::iterateLinksByName(
      location, group.c_str(), index, order, &position, callHost, &context, accessList));
  storeRequested(nOut, outs,
                 {zbCreateDoubleScalar(status), makeSizeResult(position), context.userData});
}

void visit(int nOut, zbArray** outs, const zbArray** ins) {
  const hid_t group = GroupId::from(ins[0]);
  const auto index = Index::from(ins[1]);
  const auto order = Order::from(ins[2]);
  CallbackContext context(ins[3], ins[4]);
  const herr_t status = context.succeeded<msg::linkVisitFailure>(
      hdf5::visitLinks(group, index, order, callHost, &context));
  storeRequested(nOut, outs, {zbCreateDoubleScalar(status), context.userData});
}

/// Looks at both identifiers, and what the location is, before anything else.
void visitByName(int nOut, zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const hid_t accessList = AccessList::from(ins[6]);
  const H5I_type_t type = H5Iget_type(location);
  if (type != H5I_FILE && type != H5I_GROUP) raise<msg::invalidLocation>();
  const std::string group = GroupName::from(ins[1]);
  const auto index = Index::from(ins[2]);
  const auto order = Order::from(ins[3]);
  CallbackContext context(ins[4], ins[5]);
  const herr_t status = context.succeeded<msg::linkVisitationByNameFailure>(hdf5::visitLinksByName(
      location, group.c_str(), index, order, callHost, &context, accessList));
  storeRequested(nOut, outs, {zbCreateDoubleScalar(status), context.userData});
}

constexpr Row kLinkFunctions[] = {
    // name                   call                 gives    takes
    {"H5Lcopy", wrap<H5Lcopy, Nothing, Location<"source location identifier">, Text<"source name">,
                     LinkDestination, Text<"destination name">, CreationList, AccessList>},
    {"H5Lcreate_external",
     wrap<H5Lcreate_external, Nothing, Text<"file name">, Text<"object name">,
          Id<"link location identifier">, LinkName, CreationList, AccessList>},
    {"H5Lcreate_hard", wrap<H5Lcreate_hard, Nothing, Id<"object location identifier">,
                            Text<"object name">, LinkLocation, LinkName, CreationList, AccessList>},
    {"H5Lcreate_soft", wrap<H5Lcreate_soft, Nothing, Text<"target path">, LinkLocation, LinkName,
                            CreationList, AccessList>},
    {"H5Ldelete", wrap<H5Ldelete, Nothing, LocationId, LinkName, AccessList>},
    {"H5Lexists", wrap<H5Lexists, Number, LocationId, Text<"location name">, AccessList>},
    {"H5Lget_info", rule<3, getInfo>},
    {"H5Lget_name_by_idx", rule<6, getNameByIndex>},
    {"H5Lget_val", rule<3, getValue>},
    {"H5Literate", rule<6, iterate>},
    {"H5Literate_by_name", rule<8, iterateByName>},
    // Only the destination may be the same location.
    {"H5Lmove", wrap<H5Lmove, Nothing, Id<"source location identifier">, Text<"source name">,
                     LinkDestination, Text<"destination name">, CreationList, AccessList>},
    {"H5Lvisit", rule<5, visit>},
    {"H5Lvisit_by_name", rule<7, visitByName>},
};

}  // namespace

std::span<const Row> linkFunctions() { return kLinkFunctions; }

}  // namespace h5gate
