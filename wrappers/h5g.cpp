// H5G: groups, and the first generation of links, objects and comments.
#include "convert/record.hpp"
#include "hdf5/closing.hpp"
#include "hdf5/link_shields.hpp"
#include "wrappers/iteration.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using GroupId = Id<"group identifier">;
using LocationId = Id<"location identifier">;
using GroupName = Text<"group name">;
using Name = Text<"dataset name">;  // groups are created and opened by it, too
using CommentParent = Text<"parent of comment">;
using CommentedObject = Text<"parent object of comment">;
using Comment = Text<"comment">;
using UnlinkedName = Text<"name of object to unlink">;
using LinkList = ObjectList<"link creation property list">;
using CreationList = ObjectList<"group creation property list">;
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
      raiseAbout<msg::badDestinationName>(array);
    }
    return H5G_SAME_LOC;
  }
};

// --- The value of a link --------------------------------------------------------------

/// Where other links have the size of their value, the record of a hard link has the
/// object's address: HDF5, which refuses hard links here, gets no room for them.
void getLinkValue(Inputs ins, Results& outs) {
  const auto [location, name] = take<Id<"link location identifier">, CommentParent>(ins);
  hdf5::LinkInfo info{};
  if (hdf5::getLinkInfo(location, name.c_str(), &info, H5P_DEFAULT) < 0) {
    raiseFailed<msg::objectNotLink>(name);
  }
  const std::size_t size = info.type == H5L_TYPE_HARD ? 0 : info.u.val_size;
  std::string value(size + 1, '\0');  // a NUL stands behind every value
  checked(H5Gget_linkval(location, name.c_str(), value.size(), value.data()));
  outs.give(makeText(value));
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

/// 0 and whatever a double truncates to 0 ask about the link itself.
struct FollowLink {
  static hbool_t from(const zbArray* array) { return truncateToInt32(zbGetScalar(array)) != 0; }
};

// --- Iteration ------------------------------------------------------------------------

constexpr auto callHost = plainAdapter<msg::H5GiteratorCallbackFailure, IdInput, NameInput>;
using Start = InOut<OrZero<Unsigned>, int>;

constexpr Row kGroupFunctions[] = {
    // clang-format off
    //  name                   gives                           takes
    CALL(H5Gclose, hdf5::closeObject<H5Gclose>, Nothing,       GroupId),
    BY_COUNT(H5Gcreate,
        Form<hdf5::createGroup, Identifier,                    LocationId, Name, SizeHint>,
        Form<H5Gcreate2,       Identifier,                     LocationId, Name, LinkList,
                                                               CreationList, AccessList>),
    ROW(H5Gget_comment,        BufferedText,                   LocationId, CommentParent,
                                                               SizeThenBuffer),
    ROW(H5Gget_info,           Outputs<Record<kGroupInfo>>,    GroupId),
    OWN(H5Gget_linkval,        getLinkValue),
    ROW(H5Gget_num_objs,       Outputs<hsize_t>,               LocationId),
    ROW(H5Gget_objinfo,        Outputs<Record<kObjectStatus>>, LocationId, GroupName, FollowLink),
    ROW(H5Gget_objname_by_idx, Unchecked<BufferedText>,        LocationId, Size, Buffer),
    CALL(H5Gget_objtype_by_idx, hdf5::typeByIndex, Unchecked<Number>, LocationId, Size),
    // Gives what HDF5 answers, a failure included.
    ROW(H5Giterate,            Unchecked<Number>,              LocationId, GroupName, Start,
                                                               Function<callHost>),
    CALL(H5Glink2, hdf5::link, Nothing,                        Id<"current location identifier">,
                                                               Text<"name of existing object">,
                                                               Enum<H5G_link_t>, Destination,
                                                               Text<"new name for the object">),
    CALL(H5Gmove2, hdf5::move, Nothing,                        LocationId,
                                                               Text<"name of source object">,
                                                               Destination,
                                                               Text<"name of destination object">),
    BY_COUNT(H5Gopen,
        Form<H5Gopen1,         Identifier,                     LocationId, Name>,
        Form<H5Gopen2,         Identifier,                     LocationId, Name, AccessList>),
    ROW(H5Gset_comment,        Nothing,                        LocationId, CommentedObject,
                                                               Comment),
    ROW(H5Gunlink,             Nothing,                        LocationId, UnlinkedName),
};  // clang-format on

}  // namespace

std::span<const Row> groupFunctions() { return kGroupFunctions; }

}  // namespace h5gate
