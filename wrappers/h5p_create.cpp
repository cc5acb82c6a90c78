// H5P: what datasets, groups and other objects are created with: layout, filters,
// fill values, external files, the order and the storage of links and attributes.
#include <array>
#include <vector>

#include "convert/integer_class.hpp"
#include "hdf5/handle.hpp"
#include "host/hdf5_dataset.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using List = Id<"property list identifier">;
using ListOrClass = ListId<"property list identifier">;
using PlainList = Id<"property list">;
using DatasetList = Id<"dataset creation property list">;
using GroupList = Id<"group creation property list">;
using GroupListId = Id<"group creation property list identifier">;
using Filter = Enum<FilterId>;

// --- Chunks -----------------------------------------------------------------------

void setChunk(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t list = PlainList::from(ins[0]);
  const Dims dims = getDimsArg(ins[1], "dimensions");
  checked(H5Pset_chunk(list, dims.rank(), dims.data()));
}

void getChunk(zbArray** outs, const zbArray** ins) {
  std::array<hsize_t, H5S_MAX_RANK> dims{};
  const int rank = checked(H5Pget_chunk(PlainList::from(ins[0]), H5S_MAX_RANK, dims.data()));
  outs[0] = zbCreateDoubleScalar(rank);
  outs[1] = makeSizes(1, static_cast<std::size_t>(rank), dims.data());
}

// --- Filters ----------------------------------------------------------------------

void setFilter(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  const H5Z_filter_t filter = Filter::from(ins[1]);
  const unsigned flags = Unsigned::from(ins[2]);
  const std::vector<unsigned> data = getUIntsArg(ins[3]);
  checked(H5Pset_filter(list, filter, flags, data.size(), data.data()));
}

/// HDF5 modifies what lies behind the pipeline when the filter is not in it.
void requireFilter(hid_t list, H5Z_filter_t filter) {
  unsigned flags = 0;
  std::size_t count = 0;
  checked(H5Pget_filter_by_id2(list, filter, &flags, &count, nullptr, 0, nullptr, nullptr));
}

void modifyFilter(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  const H5Z_filter_t filter = Int::from(ins[1]);
  const unsigned flags = Unsigned::from(ins[2]);
  const std::vector<unsigned> data = getUIntsArg(ins[3]);
  if (checked(H5Pget_nfilters(list)) == 0) raise<msg::noFiltersToModify>();
  requireFilter(list, filter);
  checked(H5Pmodify_filter(list, filter, flags, data.size(), data.data()));
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

  [[nodiscard]] zbArray* makeData() const {
    return makeColumn(data, [](unsigned value) { return static_cast<double>(value); });
  }
};

/// Four outputs are those of the query's first version, which knows no configuration.
void getFilter(int nOut, zbArray** outs, const zbArray** ins) {
  const hid_t list = ListOrClass::from(ins[0]);
  const unsigned index = Unsigned::from(ins[1]);
  FilterInfo filter;
  const H5Z_filter_t id = filter.ask(
      [&](FilterInfo& to) {
        return nOut == 4 ? H5Pget_filter1(list, index, &to.flags, &to.count, to.data.data(),
                                          FilterInfo::kNameSize, to.name.data())
                         : H5Pget_filter2(list, index, &to.flags, &to.count, to.data.data(),
                                          FilterInfo::kNameSize, to.name.data(), &to.config);
      },
      [](auto /*status*/) {});
  storeRequested(nOut, outs,
                 {zbCreateDoubleScalar(id), zbCreateDoubleScalar(filter.flags),
                  filter.data.empty() ? makeEmpty() : filter.makeData(),
                  zbCreateString(filter.name.data()), zbCreateDoubleScalar(filter.config)});
}

void getFilterById(zbArray** outs, const zbArray** ins) {
  const hid_t list = ListOrClass::from(ins[0]);
  const H5Z_filter_t id = Filter::from(ins[1]);
  FilterInfo filter;
  filter.ask(
      [&](FilterInfo& to) {
        return H5Pget_filter_by_id2(list, id, &to.flags, &to.count, to.data.data(),
                                    FilterInfo::kNameSize, to.name.data(), &to.config);
      },
      [](herr_t status) { checked(status); });
  outs[0] = zbCreateDoubleScalar(filter.flags);
  outs[1] = filter.makeData();
  outs[2] = zbCreateString(filter.name.data());
  outs[3] = zbCreateDoubleScalar(filter.config);
}

// --- Fill values --------------------------------------------------------------------

/// The class of the values of a memory datatype; Unknown, which no value is of, where
/// the host has none.
zbClass valueClass(hid_t type) {
  const std::size_t size = H5Tget_size(type);
  switch (checked(H5Tget_class(type))) {
    case H5T_INTEGER: return integerClass(size, H5Tget_sign(type) != H5T_SGN_NONE);
    case H5T_BITFIELD: return integerClass(size, false);
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

void setFillValue(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  const hid_t type = getMemoryTypeArg(ins[1]);
  const zbArray* value = ins[2];
  if (isUndefined(value, type)) {
    checked(H5Pset_fill_value(list, type, nullptr));
    return;
  }
  if (zbGetNumberOfElements(value) != 0 && zbGetClass(value) != valueClass(type)) {
    raise<msg::badSetFillValueArgument>();
  }
  const hdf5::Space space = scalarSpace();
  HDF5Dataset element(type, space.get());
  checked(H5Pset_fill_value(list, type, element.write(value)));
}

void getFillValue(zbArray** outs, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  const hid_t type = getMemoryTypeArg(ins[1]);
  const hdf5::Space space = scalarSpace();
  HDF5Dataset element(type, space.get());
  void* buffer = element.getBuffer();
  checked(H5Pget_fill_value(list, type, buffer));
  outs[0] = element.read(buffer);
}

// --- External files -------------------------------------------------------------------

struct ReservedBytes {
  static hsize_t from(const zbArray* array) {
    if (!isText(array)) return WrappedSize::from(array);
    const std::string name = textOf(array);
    if (name != "H5F_UNLIMITED") raise<msg::badBytesReservedArgument>(name);
    return H5F_UNLIMITED;
  }
};

void getExternal(zbArray** outs, const zbArray** ins) {
  const hid_t list = List::from(ins[0]);
  const unsigned index = Unsigned::from(ins[1]);
  constexpr std::size_t kNameSize = 2047;
  std::array<char, kNameSize + 1> name{};  // a longer name is cut off without a NUL
  off_t offset = 0;
  hsize_t size = 0;
  checked(H5Pget_external(list, index, kNameSize, name.data(), &offset, &size));
  outs[0] = zbCreateString(name.data());
  outs[1] = zbCreateDoubleScalar(static_cast<double>(offset));
  outs[2] = makeSizeResult(size);
}

using Count = AsNumber<unsigned>;
using Flags = AsNumber<unsigned>;

constexpr Row kCreationPropertyFunctions[] = {
    // name                    call                   gives       takes
    {"H5Pall_filters_avail", wrap<H5Pall_filters_avail, YesNo, List>},
    {"H5Pfill_value_defined",
     wrap<H5Pfill_value_defined, Outputs<AsNumber<H5D_fill_value_t>>, List>},
    {"H5Pget_alloc_time", wrap<H5Pget_alloc_time, Outputs<AsNumber<H5D_alloc_time_t>>, List>},
    {"H5Pget_attr_creation_order", wrap<H5Pget_attr_creation_order, Outputs<Flags>,
                                        Id<"group or dataset creation property list identifier">>},
    {"H5Pget_attr_phase_change", wrap<H5Pget_attr_phase_change, Outputs<Count, Count>,
                                      Id<"object creation property list identifier">>},
    {"H5Pget_chunk", rule<1, getChunk>},
    {"H5Pget_external", rule<2, getExternal>},
    {"H5Pget_external_count", wrap<H5Pget_external_count, Number, List>},
    {"H5Pget_fill_time", wrap<H5Pget_fill_time, Outputs<AsNumber<H5D_fill_time_t>>, List>},
    {"H5Pget_fill_value", rule<2, getFillValue>},
    {"H5Pget_filter", rule<2, getFilter>},
    {"H5Pget_filter_by_id", rule<2, getFilterById>},
    {"H5Pget_layout", wrap<H5Pget_layout, RawNumber, DatasetList>},
    {"H5Pget_link_creation_order", wrap<H5Pget_link_creation_order, Outputs<Flags>, GroupListId>},
    {"H5Pget_link_phase_change",
     wrap<H5Pget_link_phase_change, Outputs<Count, Count>, GroupListId>},
    {"H5Pget_nfilters", wrap<H5Pget_nfilters, Number, List>},
    {"H5Pmodify_filter", rule<4, modifyFilter>},
    {"H5Premove_filter", wrap<H5Premove_filter, Nothing, List, Filter>},
    {"H5Pset_alloc_time", wrap<H5Pset_alloc_time, Nothing, List, Enum<H5D_alloc_time_t>>},
    {"H5Pset_attr_creation_order", wrap<H5Pset_attr_creation_order, Nothing,
                                        Id<"dataset or group creation property list">, Unsigned>},
    {"H5Pset_attr_phase_change", wrap<H5Pset_attr_phase_change, Nothing,
                                      Id<"object creation property list">, Unsigned, Unsigned>},
    {"H5Pset_chunk", rule<2, setChunk>},
    {"H5Pset_deflate", wrap<H5Pset_deflate, Nothing, List, Unsigned>},
    {"H5Pset_external", wrap<H5Pset_external, Nothing, List, Text<"NAME">, Int, ReservedBytes>},
    {"H5Pset_fill_time", wrap<H5Pset_fill_time, Nothing, List, Enum<H5D_fill_time_t>>},
    {"H5Pset_fill_value", rule<3, setFillValue>},
    {"H5Pset_filter", rule<4, setFilter>},
    {"H5Pset_fletcher32", wrap<H5Pset_fletcher32, Nothing, List>},
    {"H5Pset_layout", wrap<H5Pset_layout, Nothing, DatasetList, Enum<H5D_layout_t>>},
    {"H5Pset_link_creation_order", wrap<H5Pset_link_creation_order, Nothing, GroupList, Unsigned>},
    {"H5Pset_link_phase_change",
     wrap<H5Pset_link_phase_change, Nothing, GroupList, Unsigned, Unsigned>},
    {"H5Pset_nbit", wrap<H5Pset_nbit, Nothing, PlainList>},
    {"H5Pset_scaleoffset", wrap<H5Pset_scaleoffset, Nothing, Id<"dataset access property list">,
                                Enum<H5Z_SO_scale_type_t>, Int>},
    {"H5Pset_shuffle", wrap<H5Pset_shuffle, Nothing, DatasetList>},
};

}  // namespace

std::span<const Row> creationPropertyFunctions() { return kCreationPropertyFunctions; }

}  // namespace h5gate
