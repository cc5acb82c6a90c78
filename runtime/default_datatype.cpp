// HDF5Dataset::getMemDatatype(), the memory datatypes that the host chooses: for reading,
// whatever becomes a host array without loss; for writing, what the host array already is.
#include <algorithm>
#include <cstdint>

#include "hdf5/handle.hpp"
#include "host/hdf5_dataset.hpp"
#include "host/library_error.hpp"
#include "runtime/datatype.hpp"
#include "runtime/member_fields.hpp"
#include "runtime/sequences.hpp"
#include "runtime/value_path.hpp"

namespace zembra {
namespace {

using Zembra::checked;

/// An array that is to be written into data of a datatype: the whole array, a field,
/// an item of a cell. Datatypes within sequences have as many samples as items.
struct Sample {
  const zbArray* data = nullptr;
  ValuePath path;
};
using Samples = std::vector<Sample>;

hdf5::Type choose(hid_t fileType, const Samples& samples, int depth);

/// The class of the data where there are any: HDF5 converts numbers.
hdf5::Type chooseNumber(hid_t fileType, const Samples& samples) {
  for (const auto& [data, path] : samples) {
    if (data->elements == 0) continue;
    if (!zbIsNumeric(data) && data->type != zbClass::Logical) {
      path.refuseClass(data, describeDatatype(fileType), "a numeric or logical class");
    }
    return copyDatatype(nativeNumber(data->type));
  }
  return copyDatatype(nativeNumber(numberClass(fileType)));
}

hdf5::Type chooseText(hid_t fileType) {
  if (!isVariableText(fileType)) return copyDatatype(fileType);
  hdf5::Type type = copyDatatype(H5T_C_S1);
  checked(H5Tset_size(type.get(), H5T_VARIABLE));
  checked(H5Tset_cset(type.get(), checked(H5Tget_cset(fileType))));
  return type;
}

/// The same names on the native base.
hdf5::Type chooseEnumeration(hid_t fileType) {
  const hdf5::Type fileBase = baseDatatype(fileType);
  const hid_t base = nativeNumber(numberClass(fileBase.get()));
  hdf5::Type type(checked(H5Tenum_create(base)));
  std::vector<std::byte> value(std::max(datatypeSize(fileBase.get()), datatypeSize(base)));
  for (unsigned i = 0; i < memberCount(fileType); ++i) {
    checked(H5Tget_member_value(fileType, i, value.data()));
    checked(H5Tconvert(fileBase.get(), base, 1, value.data(), nullptr, H5P_DEFAULT));
    checked(H5Tenum_insert(type.get(), memberName(fileType, i).c_str(), value.data()));
  }
  return type;
}

/// What stands in the samples for each member.
std::vector<Samples> memberSamples(const std::vector<std::string>& names, const Samples& samples) {
  const std::vector<std::string_view> members(names.begin(), names.end());
  std::vector<Samples> result(names.size());
  for (const auto& [data, path] : samples) {
    if (data->type != zbClass::Struct || data->elements != 1) continue;  // refused when written
    const std::vector<const zbArray*> fields = matchFields(data, members, path);
    for (std::size_t i = 0; i < fields.size(); ++i) {
      result[i].push_back({fields[i], ValuePath(path, members[i])});
    }
  }
  return result;
}

/// The members' choices, packed.
hdf5::Type chooseCompound(hid_t fileType, const Samples& samples, int depth) {
  std::vector<std::string> names;
  for (unsigned i = 0; i < memberCount(fileType); ++i) names.push_back(memberName(fileType, i));
  const std::vector<Samples> parts = memberSamples(names, samples);
  std::vector<hdf5::Type> types;
  std::size_t size = 0;
  for (unsigned i = 0; i < names.size(); ++i) {
    types.push_back(choose(memberDatatype(fileType, i).get(), parts[i], depth + 1));
    size += datatypeSize(types.back().get());
  }
  hdf5::Type type(checked(H5Tcreate(H5T_COMPOUND, size)));
  std::size_t offset = 0;
  for (std::size_t i = 0; i < names.size(); ++i) {
    checked(H5Tinsert(type.get(), names[i].c_str(), offset, types[i].get()));
    offset += datatypeSize(types[i].get());
  }
  return type;
}

/// How many samples a choice can make use of.
std::size_t usefulSamples(H5T_class_t typeClass) {
  switch (typeClass) {
    case H5T_INTEGER:
    case H5T_FLOAT: return 1;
    case H5T_COMPOUND:
    case H5T_VLEN:
    case H5T_ARRAY: return SIZE_MAX;
    default: return 0;
  }
}

hdf5::Type chooseSequence(hid_t fileType, const Samples& samples, int depth) {
  const hdf5::Type fileBase = baseDatatype(fileType);
  const std::size_t useful = usefulSamples(datatypeClass(fileBase.get()));
  Samples items;
  for (const auto& [data, path] : samples) {
    if (data->type != zbClass::Cell) {  // one that holds no sequences is refused when written
      if (holdsSequences(data, 1) && data->elements > 0) items.push_back({data, path});
      continue;
    }
    for (std::size_t i = 0; i < data->elements && items.size() < useful; ++i) {
      const zbArray* item = zbGetCell(data, i);
      if (item != nullptr && item->elements > 0) items.push_back({item, ValuePath(path, i)});
    }
  }
  const hdf5::Type base = choose(fileBase.get(), items, depth + 1);
  return hdf5::Type(checked(H5Tvlen_create(base.get())));
}

hdf5::Type chooseArray(hid_t fileType, const Samples& samples, int depth) {
  const hdf5::Type base = choose(baseDatatype(fileType).get(), samples, depth + 1);
  const std::vector<hsize_t> dimensions = arrayDimensions(fileType);
  return hdf5::Type(checked(
      H5Tarray_create2(base.get(), static_cast<unsigned>(dimensions.size()), dimensions.data())));
}

hdf5::Type choose(hid_t fileType, const Samples& samples, int depth) {
  requireShallow(depth);
  switch (datatypeClass(fileType)) {
    case H5T_INTEGER:
    case H5T_FLOAT: return chooseNumber(fileType, samples);
    case H5T_BITFIELD: return copyDatatype(nativeBitField(numberClass(fileType)));
    case H5T_STRING: return chooseText(fileType);
    case H5T_REFERENCE: requireReference(fileType); [[fallthrough]];
    case H5T_OPAQUE: return copyDatatype(fileType);
    case H5T_COMPOUND: return chooseCompound(fileType, samples, depth);
    case H5T_ENUM: return chooseEnumeration(fileType);
    case H5T_VLEN: return chooseSequence(fileType, samples, depth);
    case H5T_ARRAY: return chooseArray(fileType, samples, depth);
    default: refuseDatatype(fileType);
  }
}

}  // namespace
}  // namespace zembra

hid_t HDF5Dataset::getMemDatatype(hid_t fileType) {
  return zembra::choose(fileType, {}, 1).release();
}

hid_t HDF5Dataset::getMemDatatype(hid_t fileType, const zbArray* data) {
  return zembra::choose(fileType, {{data, zembra::ValuePath()}}, 1).release();
}
