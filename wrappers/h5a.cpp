// H5A: attributes. Several inputs are described as what they are not; scripts match
// the messages as they stand.
#include "convert/record.hpp"
#include "hdf5/closing.hpp"
#include "hdf5/nested_data.hpp"
#include "hdf5/type_shields.hpp"
#include "wrappers/data_transfer.hpp"
#include "wrappers/iteration.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"
#include "wrappers/transfer_datatype.hpp"

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
using ObjectName = Text<"object name">;
using Index = Enum<H5_index_t>;
using Order = Enum<H5_iter_order_t>;
// The quotation marks belong to the descriptions.
using Nth = StrictSize<"\"index\"">;
using StartWithin = StrictSize<"\"initial offset within index\"">;

// --- Creating --------------------------------------------------------------------

constexpr auto createOld = hdf5::OfStorableType<H5Acreate1>::create;
constexpr auto create = hdf5::OfStorableType<hdf5::createAttribute>::create;

// --- Information -----------------------------------------------------------------

constexpr Field<H5A_info_t> kAttributeInfo[] = {
    {"corder_valid",
     [](const H5A_info_t& info) { return zbCreateLogicalScalar(info.corder_valid == 1); }},
    {"corder", numberOf<&H5A_info_t::corder>},
    {"cset", numberOf<&H5A_info_t::cset>},
    {"data_size", numberOf<&H5A_info_t::data_size>},
};

zbArray* makeAttributeInfo(const H5A_info_t& info) { return makeRecord(kAttributeInfo, info); }

// --- Iteration ------------------------------------------------------------------------

/// The caller gets HDF5's own failure; what the host function had to say is a warning.
void warn(CallbackContext& /*context*/, std::string report) {
  zbWarningMsgId(msg::H5Aiterator2_Callback_failure(std::move(report)));
}

constexpr auto callHost = plainAdapter<msg::attributeIteratorCallback, IdInput, NameInput>;
constexpr auto callHostWithData =
    trappedAdapter<warn, IdInput, NameInput, RecordInput<H5A_info_t, makeAttributeInfo>>;

// --- Reading and writing ---------------------------------------------------------

void read(Inputs ins, Results& outs) {
  const auto [attribute, memoryType] = take<AttributeId, Any>(ins);
  const MemoryDatatype type = chooseMemoryDatatype(attribute, H5Aget_type, memoryType, nullptr);
  const hdf5::Space space(checked(H5Aget_space(attribute)));
  const hssize_t points = H5Sget_simple_extent_npoints(space.get());
  outs.give(readData(type.get(), space.get(), points, [&, from = attribute](void* buffer, auto&) {
    return H5Aread(from, type.get(), buffer);
  }));
}

void write(Inputs ins, Results& /*outs*/) {
  const auto [attribute, memoryType, data] = take<AttributeId, Any, Any>(ins);
  const MemoryDatatype type = chooseMemoryDatatype(attribute, H5Aget_type, memoryType, data);
  const hdf5::Space space(checked(H5Aget_space(attribute)));
  writeData<msg::nullAttributeDataspace>(
      type.get(), space.get(), data, [&, to = attribute](const void* buffer) {
        return hdf5::writeNestedAttribute(to, type.get(), buffer);
      });
}

constexpr Row kAttributeFunctions[] = {
    // clang-format off
    //  name              gives                            takes
    CALL(H5Aclose, hdf5::closeObject<H5Aclose>, Nothing,   AttributeId),
    // The creation list stands for the access list, too: a sixth input is never read.
    BY_COUNT(H5Acreate,
        Form<createOld,   Identifier,                      AttributeId, Name, TypeOf, SpaceOf,
                                                           CreationList>,
        Form<create,      Identifier,                      AttributeId, Name, TypeOf, SpaceOf,
                                                           CreationList, At<4, AccessList>>),
    ROW(H5Adelete,        Nothing,                         AttributeId, Name),
    ROW(H5Aget_info,      Outputs<Record<kAttributeInfo>>, AttributeId),
    ROW(H5Aget_name,      BufferedText,                    AttributeId, SizeThenBuffer),
    ROW(H5Aget_num_attrs, Number,                          AttributeId),
    ROW(H5Aget_space,     Identifier,                      AttributeId),
    ROW(H5Aget_type,      Identifier,                      AttributeId),
    // The first form gives nothing, not even where the iteration stopped.
    BY_COUNT(H5Aiterate,
        Form<H5Aiterate1, Nothing,                         LocationId, InOut<Unsigned>,
                                                           Function<callHost>>,
        Form<H5Aiterate2, Walked,                          LocationId, Index, Order,
                                                           InOut<StartWithin>,
                                                           FunctionAndData<callHostWithData>>),
    ROW(H5Aopen,          Identifier,                      AttributeId, Name, AccessList),
    ROW(H5Aopen_by_idx,   Identifier,                      AttributeId, Name, Index, Order, Nth,
                                                           AccessList, LinkList),
    ROW(H5Aopen_by_name,  Identifier,                      LocationId, ObjectName, Name,
                                                           AccessList, LinkList),
    ROW(H5Aopen_idx,      Identifier,                      AttributeId, Unsigned),
    ROW(H5Aopen_name,     Identifier,                      Id<"object identifier">, Name),
    OWN(H5Aread,          read),
    OWN(H5Awrite,         write),
};  // clang-format on

}  // namespace

std::span<const Row> attributeFunctions() { return kAttributeFunctions; }

}  // namespace h5gate
