// H5A: attributes. Several inputs are described as what they are not; scripts match
// the messages as they stand.
#include "convert/callbacks.hpp"
#include "convert/record.hpp"
#include "convert/two_calls.hpp"
#include "wrappers/data_transfer.hpp"
#include "wrappers/memory_datatype.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using AttributeId = Id<"attribute identifier">;
using LocationId = Id<"location identifier">;
using Name = Text<"attribute name">;
using TypeOf = TypeId<"datatype identifier">;
using SpaceOf = Id<"attribute dataspace">;
using CreationList = ObjectList<"attribute creation property list identifier">;
using AccessList = ObjectList<"attribute access property list identifier">;
using LinkList = ObjectList<"link access property list identifier">;

void create(int /*nOut*/, zbArray** outs, int nIn, const zbArray** ins) {
  requireArgCount(nIn == 5 || nIn == 6);
  const hid_t object = AttributeId::from(ins[0]);
  const std::string name = Name::from(ins[1]);
  const hid_t type = TypeOf::from(ins[2]);
  const hid_t space = SpaceOf::from(ins[3]);
  const hid_t creation = CreationList::from(ins[4]);
  if (nIn == 5) {
    outs[0] = makeHidResult(checked(H5Acreate1(object, name.c_str(), type, space, creation)));
    return;
  }
  // The creation list stands for the access list, too: a sixth input is never read.
  const hid_t access = AccessList::from(ins[4]);
  outs[0] = makeHidResult(checked(H5Acreate2(object, name.c_str(), type, space, creation, access)));
}

void getName(zbArray** outs, const zbArray** ins) {
  const hid_t attribute = AttributeId::from(ins[0]);
  outs[0] = makeText(
      readText([&](char* buffer, std::size_t size) { return H5Aget_name(attribute, size, buffer); },
               kChecked));
}

// --- Information -----------------------------------------------------------------

constexpr Field<H5A_info_t> kAttributeInfo[] = {
    {"corder_valid",
     [](const H5A_info_t& info) { return zbCreateLogicalScalar(info.corder_valid == 1); }},
    {"corder", numberOf<&H5A_info_t::corder>},
    {"cset", numberOf<&H5A_info_t::cset>},
    {"data_size", [](const H5A_info_t& info) { return makeSizeResult(info.data_size); }},
};

zbArray* makeAttributeInfo(const H5A_info_t& info) { return makeRecord(kAttributeInfo, info); }

void getInfo(zbArray** outs, const zbArray** ins) {
  H5A_info_t info{};
  checked(H5Aget_info(AttributeId::from(ins[0]), &info));
  outs[0] = makeAttributeInfo(info);
}

// --- Iteration -------------------------------------------------------------------

/// The caller gets HDF5's own failure; what the host function had to say is a warning.
void warn(CallbackContext& /*context*/, std::string report) {
  zbWarningMsgId(msg::H5Aiterator2_Callback_failure(std::move(report)));
}

/// Gives nothing, not even where the iteration stopped.
void iterateByNumber(const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  unsigned index = getUIntArg(ins[1]);
  CallbackContext context(ins[2]);
  checked(context.returned(
      H5Aiterate1(location, &index,
                  plainAdapter<msg::attributeIteratorCallback, IdInput, NameInput>, &context)));
}

void iterateByIndex(int nOut, zbArray** outs, const zbArray** ins) {
  const hid_t location = LocationId::from(ins[0]);
  const auto index = getEnumArg<H5_index_t>(ins[1]);
  const auto order = getEnumArg<H5_iter_order_t>(ins[2]);
  hsize_t position = getStrictSizeArg(ins[3], "\"initial offset within index\"");
  CallbackContext context(ins[4], ins[5]);
  const herr_t status = checked(context.returned(H5Aiterate2(
      location, index, order, &position,
      trappedAdapter<warn, IdInput, NameInput, RecordInput<H5A_info_t, makeAttributeInfo>>,
      &context)));
  storeRequested(nOut, outs,
                 {zbCreateDoubleScalar(status), makeSizeResult(position), context.userData});
}

void iterate(int nOut, zbArray** outs, int nIn, const zbArray** ins) {
  requireArgCount(nIn == 3 || nIn == 6);
  if (nIn == 3) {
    iterateByNumber(ins);
  } else {
    iterateByIndex(nOut, outs, ins);
  }
}

// --- Reading and writing ---------------------------------------------------------

void read(zbArray** outs, const zbArray** ins) {
  const hid_t attribute = AttributeId::from(ins[0]);
  const MemoryDatatype type = chooseMemoryDatatype(attribute, H5Aget_type, ins[1], nullptr);
  const hdf5::Space space(checked(H5Aget_space(attribute)));
  outs[0] = readData(type.get(), space.get(), H5Sget_simple_extent_npoints(space.get()),
                     [&](void* buffer) { return H5Aread(attribute, type.get(), buffer); });
}

void write(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t attribute = AttributeId::from(ins[0]);
  const zbArray* data = ins[2];
  const MemoryDatatype type = chooseMemoryDatatype(attribute, H5Aget_type, ins[1], data);
  const hdf5::Space space(checked(H5Aget_space(attribute)));
  writeData<msg::nullAttributeDataspace>(type.get(), space.get(), data, [&](const void* buffer) {
    return H5Awrite(attribute, type.get(), buffer);
  });
}

constexpr Row kAttributeFunctions[] = {
    // name                call               gives       takes
    {"H5Aclose", wrap<H5Aclose, Nothing, AttributeId>},
    {"H5Acreate", create},
    {"H5Adelete", wrap<H5Adelete, Nothing, AttributeId, Name>},
    {"H5Aget_info", rule<1, getInfo>},
    {"H5Aget_name", rule<1, getName>},
    {"H5Aget_num_attrs", wrap<H5Aget_num_attrs, Number, AttributeId>},
    {"H5Aget_space", wrap<H5Aget_space, Identifier, AttributeId>},
    {"H5Aget_type", wrap<H5Aget_type, Identifier, AttributeId>},
    {"H5Aiterate", iterate},
    {"H5Aopen", wrap<H5Aopen, Identifier, AttributeId, Name, AccessList>},
    {"H5Aopen_by_idx", wrap<H5Aopen_by_idx, Identifier, AttributeId, Name, Enum<H5_index_t>,
                            Enum<H5_iter_order_t>, StrictSize<"\"index\"">, AccessList, LinkList>},
    {"H5Aopen_by_name", wrap<H5Aopen_by_name, Identifier, LocationId, Text<"object name">, Name,
                             AccessList, LinkList>},
    {"H5Aopen_idx", wrap<H5Aopen_idx, Identifier, AttributeId, Unsigned>},
    {"H5Aopen_name", wrap<H5Aopen_name, Identifier, Id<"object identifier">, Name>},
    {"H5Aread", rule<2, read>},
    {"H5Awrite", rule<3, write>},
};

}  // namespace

std::span<const Row> attributeFunctions() { return kAttributeFunctions; }

}  // namespace h5gate
