// H5G: groups, and the first generation of links, objects and comments.
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
using Name = Text<"dataset name">;  // groups are created and opened by it, too
using CommentParent = Text<"parent of comment">;
using AccessList = ObjectList<"group access property list">;

/// Any double is a hint; HDF5 says which are too large.
struct SizeHint {
  static std::size_t from(const zbArray* array) { return wrapToSize(zbGetScalar(array)); }
};

/// Where a link goes: "H5G_SAME_LOC" is the only text, and exactly that.
struct Destination {
  static hid_t from(const zbArray* array) {
    if (!isText(array)) return getHidArg(array, "destination identifier");
    if (getStringArg(array, "destination name") != "H5G_SAME_LOC") {
      raise<msg::badDestinationName>();
    }
    return H5G_SAME_LOC;
  }
};

// --- Texts ------------------------------------------------------------------------

void getComment(zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const std::string name = CommentParent::from(ins[1]);
  outs[0] = makeText(readText(
      [&](char* buffer, std::size_t size) {
        return H5Gget_comment(location, name.c_str(), size, buffer);
      },
      kChecked));
}

/// HDF5 itself refuses hard links, which have no value.
void getLinkValue(zbArray** outs, const zbArray** ins) {
  const hid_t location = Id<"link location identifier">::from(ins[0]);
  const std::string name = CommentParent::from(ins[1]);
  hdf5::LinkInfo info{};
  if (hdf5::getLinkInfo(location, name.c_str(), &info, H5P_DEFAULT) < 0) {
    raise<msg::objectNotLink>(name);
  }
  outs[0] = makeText(readLinkValue(info, [&](char* buffer, std::size_t size) {
    return H5Gget_linkval(location, name.c_str(), size, buffer);
  }));
}

// --- Information records -------------------------------------------------------------

constexpr Field<H5G_info_t> kGroupInfo[] = {
    {"storage_type", numberOf<&H5G_info_t::storage_type>},
    {"nlinks", numberOf<&H5G_info_t::nlinks>},
    {"max_corder",
     [](const H5G_info_t& info) {
       const std::size_t shape[] = {1, 1};
       zbArray* array = zbCreateUninitNumericArray(2, shape, zbClass::Int64);
       *static_cast<std::int64_t*>(zbGetWritableData(array)) = info.max_corder;
       return array;
     }},
};

/// HDF5 spreads a number over two longs, or gives all of it in the first one where
/// that holds 64 bits; scripts see its two 32-bit words, the low one first.
zbArray* makeWords(const unsigned long (&number)[2]) {
  constexpr bool kWideLong = sizeof(unsigned long) == 8;
  const std::uint64_t low = number[0];
  const hsize_t words[] = {low & 0xFFFFFFFFU, kWideLong ? low >> 32U : number[1]};
  return makeSizes(1, 2, words);
}

constexpr Field<H5O_stat_t> kHeaderStatus[] = {
    {"size", numberOf<&H5O_stat_t::size>},
    {"free", numberOf<&H5O_stat_t::free>},
    {"nmesgs", numberOf<&H5O_stat_t::nmesgs>},
    {"nchunks", numberOf<&H5O_stat_t::nchunks>},
};
constexpr Field<H5G_stat_t> kObjectStatus[] = {
    {"fileno", [](const H5G_stat_t& status) { return makeWords(status.fileno); }},
    {"objno", [](const H5G_stat_t& status) { return makeWords(status.objno); }},
    {"nlink", numberOf<&H5G_stat_t::nlink>},
    {"type", numberOf<&H5G_stat_t::type>},
    {"mtime", numberOf<&H5G_stat_t::mtime>},
    {"linklen", numberOf<&H5G_stat_t::linklen>},
    {"ohdr", [](const H5G_stat_t& status) { return makeRecord(kHeaderStatus, status.ohdr); }},
};

void getInfo(zbArray** outs, const zbArray** ins) {
  H5G_info_t info{};
  checked(H5Gget_info(GroupId::from(ins[0]), &info));
  outs[0] = makeRecord(kGroupInfo, info);
}

void getObjectStatus(zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const std::string name = GroupName::from(ins[1]);
  const bool followLink = truncateToInt32(zbGetScalar(ins[2])) != 0;
  H5G_stat_t status{};
  checked(H5Gget_objinfo(location, name.c_str(), followLink, &status));
  outs[0] = makeRecord(kObjectStatus, status);
}

// --- Iteration -------------------------------------------------------------------------

/// Gives what HDF5 answers, a failure included.
void iterate(zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const std::string name = GroupName::from(ins[1]);
  auto index = static_cast<int>(OrZero<Unsigned>::from(ins[2]));
  CallbackContext context(ins[3]);
  const herr_t status = context.returned(
      H5Giterate(location, name.c_str(), &index,
                 plainAdapter<msg::H5GiteratorCallbackFailure, IdInput, NameInput>, &context));
  outs[0] = zbCreateDoubleScalar(status);
}

constexpr Row kGroupFunctions[] = {
    // name                  call                 gives       takes
    {"H5Gclose", wrap<H5Gclose, Nothing, GroupId>},
    {"H5Gcreate",
     byCount<
         Form<H5Gcreate1, Identifier, LocationId, Name, SizeHint>,
         Form<H5Gcreate2, Identifier, LocationId, Name, ObjectList<"link creation property list">,
              ObjectList<"group creation property list">, AccessList>>},
    {"H5Gget_comment", rule<2, getComment>},
    {"H5Gget_info", rule<1, getInfo>},
    {"H5Gget_linkval", rule<2, getLinkValue>},
    {"H5Gget_num_objs", wrap<H5Gget_num_objs, Outputs<AsSize<hsize_t>>, LocationId>},
    {"H5Gget_objinfo", rule<3, getObjectStatus>},
    {"H5Gget_objname_by_idx", wrap<H5Gget_objname_by_idx, RawText, LocationId, Size>},
    {"H5Gget_objtype_by_idx", wrap<H5Gget_objtype_by_idx, RawNumber, LocationId, Size>},
    {"H5Giterate", rule<4, iterate>},
    {"H5Glink2",
     wrap<H5Glink2, Nothing, Id<"current location identifier">, Text<"name of existing object">,
          Enum<H5G_link_t>, Destination, Text<"new name for the object">>},
    {"H5Gmove2", wrap<H5Gmove2, Nothing, LocationId, Text<"name of source object">, Destination,
                      Text<"name of destination object">>},
    {"H5Gopen", byCount<Form<H5Gopen1, Identifier, LocationId, Name>,
                        Form<H5Gopen2, Identifier, LocationId, Name, AccessList>>},
    {"H5Gset_comment",
     wrap<H5Gset_comment, Nothing, LocationId, Text<"parent object of comment">, Text<"comment">>},
    {"H5Gunlink", wrap<H5Gunlink, Nothing, LocationId, Text<"name of object to unlink">>},
};

}  // namespace

std::span<const Row> groupFunctions() { return kGroupFunctions; }

}  // namespace h5gate
