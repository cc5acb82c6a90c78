#include "hdf5/type_shields.hpp"

#include <vector>

#include "hdf5/handle.hpp"

namespace hdf5 {
namespace {

constexpr char kLabels[] = "DIMENSION_LABELS";

/// Whether the dimension has a label; of a dataset that has labels at all.
bool isLabelled(hid_t dataset, unsigned index) {
  const Handle<H5Aclose> labels(H5Aopen(dataset, kLabels, H5P_DEFAULT));
  const Space space(H5Aget_space(labels.get()));
  const Type type(H5Aget_type(labels.get()));
  const hssize_t count = H5Sget_simple_extent_npoints(space.get());
  if (H5Tis_variable_str(type.get()) <= 0 || count <= index) return false;
  std::vector<char*> texts(static_cast<std::size_t>(count));
  if (H5Aread(labels.get(), type.get(), texts.data()) < 0) return false;
  const bool labelled = texts[index] != nullptr;
  H5Dvlen_reclaim(type.get(), space.get(), H5P_DEFAULT, texts.data());
  return labelled;
}

bool holdsCompoundWithoutMembers(hid_t type) {
  const H5T_class_t kind = H5Tget_class(type);
  if (kind == H5T_ARRAY || kind == H5T_VLEN) {
    return holdsCompoundWithoutMembers(Type(H5Tget_super(type)).get());
  }
  if (kind != H5T_COMPOUND) return false;
  const auto members = static_cast<unsigned>(H5Tget_nmembers(type));
  for (unsigned i = 0; i < members; ++i) {
    if (holdsCompoundWithoutMembers(Type(H5Tget_member_type(type, i)).get())) return true;
  }
  return members == 0;
}

bool hasDimension(hid_t dataset, unsigned index) {
  const Space space(H5Dget_space(dataset));
  return static_cast<int>(index) < H5Sget_simple_extent_ndims(space.get());
}

}  // namespace

herr_t setTypeSize(hid_t type, size_t size) {
  if (!kSince110 && H5Tget_class(type) == H5T_COMPOUND && H5Tget_nmembers(type) == 0) {
    return refuse("H5Tset_size", "a compound without members has no size to change");
  }
  return changeTransient<H5Tset_size>("H5Tset_size", type, size);
}

herr_t packType(hid_t type) {
  if (H5Iget_type(type) == H5I_DATATYPE && holdsCompoundWithoutMembers(type)) {
    return refuse("H5Tpack", "a compound without members cannot be packed");
  }
  return H5Tpack(type);
}

herr_t lockType(hid_t type) {
  if (kSince112 && H5Tcommitted(type) > 0) {
    return refuse("H5Tlock", "a committed datatype cannot be locked");
  }
  return H5Tlock(type);
}

hid_t createAttribute(hid_t object, const char* name, hid_t type, hid_t space, hid_t creationList,
                      hid_t accessList) {
  return H5Acreate2(object, name, type, space, creationList, kSince112 ? H5P_DEFAULT : accessList);
}

ssize_t getDimensionLabel(hid_t dataset, unsigned index, char* label, size_t size) {
  const bool none = !kSince110 && H5Iget_type(dataset) == H5I_DATASET &&
                    H5Aexists(dataset, kLabels) > 0 && hasDimension(dataset, index) &&
                    !isLabelled(dataset, index);
  if (!none) return H5DSget_label(dataset, index, label, size);
  if (label != nullptr && size > 0) *label = '\0';
  return 0;
}

}  // namespace hdf5
