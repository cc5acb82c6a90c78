// H5O: objects of every kind.
#include "convert/record.hpp"
#include "hdf5/identifier_shields.hpp"
#include "hdf5/nested_data.hpp"
#include "wrappers/iteration.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using ObjectId = Id<"object identifier">;
using LocationId = Id<"location identifier">;
using LocationName = Text<"location name">;
using CreationList = ObjectList<"link creation property list">;
using AccessList = ObjectList<"link access property list">;
using Index = Enum<H5_index_t>;
using Order = Enum<H5_iter_order_t>;

// --- The information record -----------------------------------------------------------------

using Info = hdf5::ObjectInfo;
using Header = decltype(Info::hdr);
using Space = decltype(Header::space);
using Messages = decltype(Header::mesg);
using MetaSize = decltype(Info::meta_size);
using IndexAndHeap = decltype(MetaSize::obj);

constexpr Field<Space> kSpace[] = {
    {"total", numberOf<&Space::total>},
    {"meta", numberOf<&Space::meta>},
    {"mesg", numberOf<&Space::mesg>},
    {"free", numberOf<&Space::free>},
};
constexpr Field<Messages> kMessages[] = {
    {"present", numberOf<&Messages::present>},
    {"shared", numberOf<&Messages::shared>},
};
constexpr Field<Header> kHeader[] = {
    {"version", numberOf<&Header::version>},
    {"nmesgs", numberOf<&Header::nmesgs>},
    {"nchunks", numberOf<&Header::nchunks>},
    {"flags", numberOf<&Header::flags>},
    {"space", [](const Header& header) { return makeRecord(kSpace, header.space); }},
    {"mesg", [](const Header& header) { return makeRecord(kMessages, header.mesg); }},
};
constexpr Field<IndexAndHeap> kIndexAndHeap[] = {
    {"index_size", numberOf<&IndexAndHeap::index_size>},
    {"heap_size", numberOf<&IndexAndHeap::heap_size>},
};
constexpr Field<MetaSize> kMetaSize[] = {
    {"obj", [](const MetaSize& size) { return makeRecord(kIndexAndHeap, size.obj); }},
    {"attr", [](const MetaSize& size) { return makeRecord(kIndexAndHeap, size.attr); }},
};
constexpr Field<Info> kInfo[] = {
    // One 32-bit word, though the member is a long.
    {"fileno",
     [](const Info& info) { return makeNumber(static_cast<std::uint32_t>(info.fileno)); }},
    {"addr", numberOf<&Info::addr>},
    {"type", numberOf<&Info::type>},
    {"rc", numberOf<&Info::rc>},
    {"atime", numberOf<&Info::atime>},
    {"mtime", numberOf<&Info::mtime>},
    {"ctime", numberOf<&Info::ctime>},
    {"btime", numberOf<&Info::btime>},
    {"num_attrs", numberOf<&Info::num_attrs>},
    {"hdr", [](const Info& info) { return makeRecord(kHeader, info.hdr); }},
    {"meta_size", [](const Info& info) { return makeRecord(kMetaSize, info.meta_size); }},
};

// --- Visits ---------------------------------------------------------------------------

constexpr auto callHost = trappedAdapter<keepReport, IdInput, NameInput, NotPassed<Info>>;

/// The access list comes behind the location, and with it its complaints; the name last.
herr_t visitByName(hid_t location, hid_t accessList, H5_index_t index, H5_iter_order_t order,
                   decltype(callHost) visit, void* data, const char* name) {
  return hdf5::visitObjectsByName(location, name, index, order, visit, data, accessList);
}

using WithData = FunctionAndData<callHost>;

constexpr Row kObjectFunctions[] = {
    // clang-format off
    //  name                    gives         takes
    CALL(H5Oclose, hdf5::closeAnyObject, Nothing, ObjectId),
    CALL(H5Ocopy, hdf5::copyObject, Nothing,  Id<"source object identifier">, Text<"source name">,
                                              Id<"destination object identifier">,
                                              Text<"destination name">,
                                              Id<"object copy property list">, CreationList),
    ROW(H5Oget_comment,         BufferedText, ObjectId, Buffer),
    ROW(H5Oget_comment_by_name, BufferedText, LocationId, LocationName, Buffer, AccessList),
    CALL(H5Oget_info, hdf5::getObjectInfo, Outputs<Record<kInfo>>, ObjectId),
    ROW(H5Olink,                Nothing,      ObjectId, Id<"new location identifier">,
                                              Text<"new name">, CreationList, AccessList),
    ROW(H5Oopen,                Identifier,   LocationId, Text<"name">, AccessList),
    ROW(H5Oopen_by_idx,         Identifier,   LocationId, Text<"group name">, Index, Order, Size,
                                              AccessList),
    ROW(H5Oset_comment,         Nothing,      ObjectId, Text<"comment">),
    // The comment goes by the description that the object's name should have.
    ROW(H5Oset_comment_by_name, Nothing,      LocationId, Text<"rel_name">, Text<"name">,
                                              AccessList),

    //   name              calls               gives
    //                     takes
    CALL(H5Ovisit,         hdf5::visitObjects, WalkedOr<msg::visitFailure>,
                           ObjectId, Index, Order, WithData),
    CALL(H5Ovisit_by_name, visitByName,        WalkedOr<msg::visitByNameFailure>,
                           LocationId, At<6, AccessList>, At<2, Index>, At<3, Order>,
                           At<4, WithData>, At<1, Text<"object name">>),
};  // clang-format on

}  // namespace

std::span<const Row> objectFunctions() { return kObjectFunctions; }

}  // namespace h5gate
