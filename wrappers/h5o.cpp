// H5O: objects of every kind.
#include "convert/callbacks.hpp"
#include "convert/record.hpp"
#include "convert/two_calls.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using ObjectId = Id<"object identifier">;
using LocationId = Id<"location identifier">;
using CreationList = ObjectList<"link creation property list">;
using AccessList = ObjectList<"link access property list">;
using Index = Enum<H5_index_t>;
using Order = Enum<H5_iter_order_t>;

// --- Comments ---------------------------------------------------------------------------

void getCommentByName(zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const std::string name = Text<"location name">::from(ins[1]);
  const hid_t accessList = AccessList::from(ins[2]);
  outs[0] = makeText(readText(
      [&](char* buffer, std::size_t size) {
        return H5Oget_comment_by_name(location, name.c_str(), buffer, size, accessList);
      },
      kChecked));
}

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
     [](const Info& info) {
       return zbCreateDoubleScalar(static_cast<std::uint32_t>(info.fileno));
     }},
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

void getInfo(zbArray** outs, const zbArray** ins) {
  Info info{};
  checked(hdf5::getObjectInfo(ObjectId::from(ins[0]), &info));
  outs[0] = makeRecord(kInfo, info);
}

// --- Visits ---------------------------------------------------------------------------------

constexpr auto callHost = trappedAdapter<keepReport, IdInput, NameInput, NotPassed<Info>>;

void visit(int nOut, zbArray** outs, const zbArray** ins) {
  const hid_t object = ObjectId::from(ins[0]);
  const auto index = Index::from(ins[1]);
  const auto order = Order::from(ins[2]);
  CallbackContext context(ins[3], ins[4]);
  const herr_t status = context.succeeded<msg::visitFailure>(
      hdf5::visitObjects(object, index, order, callHost, &context));
  storeRequested(nOut, outs, {zbCreateDoubleScalar(status), context.userData});
}

/// Identifiers come before all else, the name last.
void visitByName(int nOut, zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const hid_t accessList = AccessList::from(ins[6]);
  const auto index = Index::from(ins[2]);
  const auto order = Order::from(ins[3]);
  CallbackContext context(ins[4], ins[5]);
  const std::string name = Text<"object name">::from(ins[1]);
  const herr_t status = context.succeeded<msg::visitByNameFailure>(hdf5::visitObjectsByName(
      location, name.c_str(), index, order, callHost, &context, accessList));
  storeRequested(nOut, outs, {zbCreateDoubleScalar(status), context.userData});
}

constexpr Row kObjectFunctions[] = {
    // name                       call                     gives       takes
    {"H5Oclose", wrap<H5Oclose, Nothing, ObjectId>},
    {"H5Ocopy", wrap<H5Ocopy, Nothing, Id<"source object identifier">, Text<"source name">,
                     Id<"destination object identifier">, Text<"destination name">,
                     Id<"object copy property list">, CreationList>},
    {"H5Oget_comment", wrap<H5Oget_comment, CheckedText, ObjectId>},
    {"H5Oget_comment_by_name", rule<3, getCommentByName>},
    {"H5Oget_info", rule<1, getInfo>},
    {"H5Olink", wrap<H5Olink, Nothing, ObjectId, Id<"new location identifier">, Text<"new name">,
                     CreationList, AccessList>},
    {"H5Oopen", wrap<H5Oopen, Identifier, LocationId, Text<"name">, AccessList>},
    {"H5Oopen_by_idx", wrap<H5Oopen_by_idx, Identifier, LocationId, Text<"group name">, Index,
                            Order, Size, AccessList>},
    {"H5Oset_comment", wrap<H5Oset_comment, Nothing, ObjectId, Text<"comment">>},
    // The comment goes by the description that the object's name should have.
    {"H5Oset_comment_by_name",
     wrap<H5Oset_comment_by_name, Nothing, LocationId, Text<"rel_name">, Text<"name">, AccessList>},
    {"H5Ovisit", rule<5, visit>},
    {"H5Ovisit_by_name", rule<7, visitByName>},
};

}  // namespace

std::span<const Row> objectFunctions() { return kObjectFunctions; }

}  // namespace h5gate
