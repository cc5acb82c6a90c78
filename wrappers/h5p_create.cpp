// H5P: what datasets, groups and other objects are created with: layout, filters,
// fill values, external files, the order and the storage of links and attributes.
#include <array>
#include <vector>

#include "hdf5/handle.hpp"
#include "hdf5/nested_data.hpp"
#include "hdf5/property_shields.hpp"
#include "host/hdf5_dataset.hpp"
#include "host/numeric_class.hpp"
#include "wrappers/own_row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using List = Id<"property list identifier">;
using ListOrClass = ListId<"property list identifier">;
using PlainList = Id<"property list">;
using DatasetList = Id<"dataset creation property list">;
using GroupList = Id<"group creation property list">;
using GroupListId = Id<"group creation property list identifier">;
using ObjectListId = Id<"object creation property list identifier">;
using AnyObjectList = Id<"object creation property list">;
using Filter = Enum<FilterId>;
using ChunkDims = Counted<Dims<"dimensions">, int>;

// --- Chunks ---------------------------------------------------------------------------

void getChunk(Inputs ins, Results& outs) {
  const auto [list] = take<PlainList>(ins);
  std::array<hsize_t, H5S_MAX_RANK> dims{};
  const int rank = checked(H5Pget_chunk(list, H5S_MAX_RANK, dims.data()));
  outs.give(makeNumber(rank));
  outs.give(makeSizes(1, static_cast<std::size_t>(rank), dims.data()));
}

// --- Filters --------------------------------------------------------------------------

/// HDF5 modifies what lies behind the pipeline when the filter is not in it.
void requireFilter(hid_t list, H5Z_filter_t filter) {
  unsigned flags = 0;
  std::size_t count = 0;
  checked(H5Pget_filter_by_id2(list, filter, &flags, &count, nullptr, 0, nullptr, nullptr));
}

void modifyFilter(Inputs ins, Results& /*outs*/) {
  const auto [list, filter, flags, data] = take<List, Int, Unsigned, Unsigneds>(ins);
  requireOwn(list);
  if (checked(H5Pget_nfilters(list)) == 0) raise<msg::noFiltersToModify>();
  requireFilter(list, filter);
  checked(hdf5::modifyFilter(list, filter, flags, data.size(), data.data()));
}

/// What HDF5 says of a filter, in room for it.
struct FilterInfo {
  static constexpr std::size_t kNameSize = 1000;
  unsigned flags = 0;
  std::size_t count = 1;
  std::vector<unsigned> data = std::vector<unsigned>(count);
  std::array<char, kNameSize + 1> name{};  // a text that fills its room may lack its NUL
  unsigned config = 0;

  /// The first answer is the number of client data, the second the client data too.
  template <class Query, class CheckFirst>
  auto ask(Query query, CheckFirst checkFirst) {
    checkFirst(query(*this));
    data.resize(count);
    return checked(query(*this));
  }

  [[nodiscard]] zbArray* makeData() const { return makeColumn(data, toDouble); }
};

/// Four outputs are those of the query's first version, which knows no configuration.
void getFilter(Inputs ins, Results& outs) {
  const auto [list, index] = take<ListOrClass, Unsigned>(ins);
  FilterInfo filter;
  const H5Z_filter_t id = filter.ask(
      [&, from = list, at = index, first = outs.asked() == 4](FilterInfo& to) {
        return first ? H5Pget_filter1(from, at, &to.flags, &to.count, to.data.data(),
                                      FilterInfo::kNameSize, to.name.data())
                     : H5Pget_filter2(from, at, &to.flags, &to.count, to.data.data(),
                                      FilterInfo::kNameSize, to.name.data(), &to.config);
      },
      [](auto /*status*/) {});
  outs.giveIfAsked(makeNumber(id));
  outs.giveIfAsked(makeNumber(filter.flags));
  outs.giveIfAsked(filter.data.empty() ? makeEmpty() : filter.makeData());
  outs.giveIfAsked(zbCreateString(filter.name.data()));
  outs.giveIfAsked(makeNumber(filter.config));
}

void getFilterById(Inputs ins, Results& outs) {
  const auto [list, id] = take<ListOrClass, Filter>(ins);
  FilterInfo filter;
  filter.ask(
      [from = list, known = id](FilterInfo& to) {
        return H5Pget_filter_by_id2(from, known, &to.flags, &to.count, to.data.data(),
                                    FilterInfo::kNameSize, to.name.data(), &to.config);
      },
      [](herr_t status) { checked(status); });
  outs.give(makeNumber(filter.flags));
  outs.give(filter.makeData());
  outs.give(zbCreateString(filter.name.data()));
  outs.give(makeNumber(filter.config));
}

// --- Fill values --------------------------------------------------------------------

/// The class of the values of a memory datatype; Unknown, which no value is of, where
/// the host has none.
zbClass valueClass(hid_t type) {
  const std::size_t size = H5Tget_size(type);
  switch (checked(H5Tget_class(type))) {
    case H5T_INTEGER: return Zembra::integerClass(size, H5Tget_sign(type) != H5T_SGN_NONE);
    case H5T_BITFIELD: return Zembra::integerClass(size, false);
    case H5T_FLOAT:
      return size <= 4 ? zbClass::Single : size <= 8 ? zbClass::Double : zbClass::Unknown;
    case H5T_STRING: return H5Tis_variable_str(type) > 0 ? zbClass::Cell : zbClass::Char;
    case H5T_OPAQUE:
    case H5T_REFERENCE: return zbClass::UInt8;
    case H5T_COMPOUND: return zbClass::Struct;
    case H5T_VLEN: return zbClass::Cell;
    case H5T_ENUM:
    case H5T_ARRAY: return valueClass(hdf5::Type(checked(H5Tget_super(type))).get());
    default: return zbClass::Unknown;
  }
}

hdf5::Space scalarSpace() { return hdf5::Space(checked(H5Screate(H5S_SCALAR))); }

/// An empty value makes the fill value undefined, which HDF5 says with a null pointer.
/// Only the empty text of a text datatype is a value of its own.
bool isUndefined(const zbArray* value, hid_t type) {
  return zbGetNumberOfElements(value) == 0 && !(isText(value) && H5Tget_class(type) == H5T_STRING);
}

void setFillValue(Inputs ins, Results& /*outs*/) {
  const auto [list, type, value] = take<List, MemoryTypeId, Any>(ins);
  requireOwn(list);
  if (isUndefined(value, type)) {
    checked(H5Pset_fill_value(list, type, nullptr));
    return;
  }
  if (zbGetNumberOfElements(value) != 0 && zbGetClass(value) != valueClass(type)) {
    raiseAbout<msg::badSetFillValueArgument>(value);
  }
  const hdf5::Space space = scalarSpace();
  HDF5Dataset element(type, space.get());
  checked(hdf5::setFillValue(list, type, element.write(value)));
}

void getFillValue(Inputs ins, Results& outs) {
  const auto [list, type] = take<List, MemoryTypeId>(ins);
  const hdf5::Space space = scalarSpace();
  HDF5Dataset element(type, space.get());
  void* buffer = element.getBuffer();
  checked(H5Pget_fill_value(list, type, buffer));
  outs.give(element.read(buffer));
}

// --- External files -------------------------------------------------------------------

struct ReservedBytes {
  static hsize_t from(const zbArray* array) {
    if (!isText(array)) return WrappedSize::from(array);
    const std::string name = textOf(array);
    if (name != "H5F_UNLIMITED") raiseAbout<msg::badBytesReservedArgument>(array, name);
    return H5F_UNLIMITED;
  }
};

void getExternal(Inputs ins, Results& outs) {
  const auto [list, index] = take<List, Unsigned>(ins);
  constexpr std::size_t kNameSize = 2047;
  std::array<char, kNameSize + 1> name{};  // a longer name is cut off without a NUL
  off_t offset = 0;
  hsize_t size = 0;
  checked(H5Pget_external(list, index, kNameSize, name.data(), &offset, &size));
  outs.give(zbCreateString(name.data()));
  outs.give(makeNumber(offset));
  outs.give(makeNumber(size));
}

constexpr Row kCreationPropertyFunctions[] = {
    // clang-format off
    //  name                        gives                        takes
    ROW(H5Pall_filters_avail,       YesNo,                       List),
    ROW(H5Pfill_value_defined,      Outputs<H5D_fill_value_t>,   List),
    ROW(H5Pget_alloc_time,          Outputs<H5D_alloc_time_t>,   List),
    ROW(H5Pget_attr_creation_order, Outputs<unsigned>,
                                    Id<"group or dataset creation property list identifier">),
    ROW(H5Pget_attr_phase_change,   Outputs<unsigned, unsigned>, ObjectListId),
    OWN(H5Pget_chunk,               getChunk),
    OWN(H5Pget_external,            getExternal),
    ROW(H5Pget_external_count,      Number,                      List),
    ROW(H5Pget_fill_time,           Outputs<H5D_fill_time_t>,    List),
    OWN(H5Pget_fill_value,          getFillValue),
    OWN(H5Pget_filter,              getFilter),
    OWN(H5Pget_filter_by_id,        getFilterById),
    ROW(H5Pget_layout,              Unchecked<Number>,           DatasetList),
    ROW(H5Pget_link_creation_order, Outputs<unsigned>,           GroupListId),
    ROW(H5Pget_link_phase_change,   Outputs<unsigned, unsigned>, GroupListId),
    ROW(H5Pget_nfilters,            Number,                      List),
    OWN(H5Pmodify_filter,           modifyFilter),
    SHIELDED(H5Premove_filter, hdf5::removeFilter, Nothing,      List, Filter),
    SET(H5Pset_alloc_time,          Nothing,                     List, Enum<H5D_alloc_time_t>),
    SET(H5Pset_attr_creation_order, Nothing,
                                    Id<"dataset or group creation property list">, Unsigned),
    SET(H5Pset_attr_phase_change,   Nothing,                     AnyObjectList, Unsigned, Unsigned),
    SET(H5Pset_chunk,               Nothing,                     PlainList, ChunkDims),
    SET(H5Pset_deflate,             Nothing,                     List, Unsigned),
    SET(H5Pset_external,            Nothing,                     List, Text<"NAME">, Int,
                                                                 ReservedBytes),
    SET(H5Pset_fill_time,           Nothing,                     List, Enum<H5D_fill_time_t>),
    OWN(H5Pset_fill_value,          setFillValue),
    SHIELDED(H5Pset_filter, hdf5::setFilter, Nothing,                     List, Filter, Unsigned,
                                                                 Counted<Unsigneds>),
    SET(H5Pset_fletcher32,          Nothing,                     List),
    SET(H5Pset_layout,              Nothing,                     DatasetList, Enum<H5D_layout_t>),
    SET(H5Pset_link_creation_order, Nothing,                     GroupList, Unsigned),
    SET(H5Pset_link_phase_change,   Nothing,                     GroupList, Unsigned, Unsigned),
    SET(H5Pset_nbit,                Nothing,                     PlainList),
    SET(H5Pset_scaleoffset,         Nothing,                     Id<"dataset access property list">,
                                                                 Enum<H5Z_SO_scale_type_t>, Int),
    SET(H5Pset_shuffle,             Nothing,                     DatasetList),
};  // clang-format on

}  // namespace

std::span<const Row> creationPropertyFunctions() { return kCreationPropertyFunctions; }

}  // namespace h5gate
