#include "hdf5/scale_shields.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "hdf5/handle.hpp"

namespace hdf5 {
namespace {

constexpr char kLabels[] = "DIMENSION_LABELS";
constexpr std::string_view kClass = "DIMENSION_SCALE";

/// Whether the dimension has a label; of a dataset that has labels at all.
bool isLabelled(hid_t dataset, unsigned dimension) {
  const Handle<H5Aclose> labels(H5Aopen(dataset, kLabels, H5P_DEFAULT));
  const Space space(H5Aget_space(labels.get()));
  const Type type(H5Aget_type(labels.get()));
  const hssize_t count = H5Sget_simple_extent_npoints(space.get());
  if (H5Tis_variable_str(type.get()) <= 0 || count <= dimension) return false;
  std::vector<char*> texts(static_cast<std::size_t>(count));
  if (H5Aread(labels.get(), type.get(), texts.data()) < 0) return false;
  const bool labelled = texts[dimension] != nullptr;
  H5Dvlen_reclaim(type.get(), space.get(), H5P_DEFAULT, texts.data());
  return labelled;
}

bool hasDimension(hid_t dataset, unsigned dimension) {
  const Space space(H5Dget_space(dataset));
  return static_cast<int>(dimension) < H5Sget_simple_extent_ndims(space.get());
}

// --- What the attributes should be ------------------------------------------------------

struct Attribute {
  hid_t id;
  hid_t type;
  hid_t space;
  hid_t dataset;

  [[nodiscard]] bool isOne() const { return H5Sget_simple_extent_npoints(space) == 1; }
  /// One element for each dimension.
  [[nodiscard]] bool isOfDimensions() const {
    const Space whole(H5Dget_space(dataset));
    return H5Sget_simple_extent_ndims(space) == 1 &&
           H5Sget_simple_extent_npoints(space) == H5Sget_simple_extent_ndims(whole.get());
  }
};

bool isFixedText(hid_t type) {
  return H5Tget_class(type) == H5T_STRING && H5Tis_variable_str(type) == 0;
}

bool isObjectReference(hid_t type) {
  return H5Tget_class(type) == H5T_REFERENCE && H5Tequal(type, H5T_STD_REF_OBJ) > 0;
}

/// Whether a text is that of scales to HDF5: where it is shorter, its beginning.
bool saysScale(const Attribute& attribute) {
  std::string text(H5Tget_size(attribute.type), '\0');
  if (H5Aread(attribute.id, attribute.type, text.data()) < 0) return false;
  return kClass.starts_with(text.c_str());
}

/// 1.8 has room for so much of a class. Later releases read a text of the kind that they write,
/// and free it twice where it is another.
bool isClass(const Attribute& attribute) {
  constexpr std::size_t kRoom = 20;
  if (!attribute.isOne() || !isFixedText(attribute.type)) return false;
  if (!kSince110) return H5Tget_size(attribute.type) <= kRoom;
  const bool isRead = H5Tget_size(attribute.type) == kClass.size() + 1 &&
                      H5Tget_strpad(attribute.type) == H5T_STR_NULLTERM;
  return !isRead || saysScale(attribute);
}

bool isName(const Attribute& attribute) { return attribute.isOne() && isFixedText(attribute.type); }

bool isLabels(const Attribute& attribute) {
  return attribute.isOfDimensions() && H5Tis_variable_str(attribute.type) > 0;
}

bool isDimensionList(const Attribute& attribute) {
  return attribute.isOfDimensions() && H5Tget_class(attribute.type) == H5T_VLEN &&
         isObjectReference(Type(H5Tget_super(attribute.type)).get());
}

bool isReferenceList(const Attribute& attribute) {
  if (H5Tget_class(attribute.type) != H5T_COMPOUND || H5Tget_nmembers(attribute.type) != 2 ||
      H5Sget_simple_extent_ndims(attribute.space) != 1 ||
      H5Sget_simple_extent_npoints(attribute.space) < 1) {
    return false;
  }
  const int dataset = H5Tget_member_index(attribute.type, "dataset");
  const int dimension = H5Tget_member_index(attribute.type, "dimension");
  if (dataset < 0 || dimension < 0) return false;
  return isObjectReference(
             Type(H5Tget_member_type(attribute.type, static_cast<unsigned>(dataset))).get()) &&
         H5Tget_member_class(attribute.type, static_cast<unsigned>(dimension)) == H5T_INTEGER;
}

/// Whether the attribute is what it should be, or absent.
bool isSound(hid_t dataset, const char* name, bool (*is)(const Attribute&)) {
  if (H5Aexists(dataset, name) <= 0) return true;
  const Handle<H5Aclose> attribute(H5Aopen(dataset, name, H5P_DEFAULT));
  const Type type(H5Aget_type(attribute.get()));
  const Space space(H5Aget_space(attribute.get()));
  return is({attribute.get(), type.get(), space.get(), dataset});
}

bool hasSoundClass(hid_t dataset) { return isSound(dataset, "CLASS", isClass); }

}  // namespace

bool isSoundScale(hid_t scale) {
  return hasSoundClass(scale) && isSound(scale, "REFERENCE_LIST", isReferenceList);
}

bool isSoundlyNamed(hid_t scale) { return hasSoundClass(scale) && isSound(scale, "NAME", isName); }

bool areSound(hid_t dataset, hid_t scale) {
  return hasSoundClass(dataset) && hasSoundScales(dataset) && isSoundScale(scale);
}

bool hasSoundScales(hid_t dataset) { return isSound(dataset, "DIMENSION_LIST", isDimensionList); }

bool hasSoundLabels(hid_t dataset) { return isSound(dataset, kLabels, isLabels); }

htri_t isScale(hid_t dataset) { return hasSoundClass(dataset) ? H5DSis_scale(dataset) : 0; }

ssize_t getDimensionLabel(hid_t dataset, unsigned dimension, char* label, size_t size) {
  const bool none = !kSince110 && H5Iget_type(dataset) == H5I_DATASET &&
                    H5Aexists(dataset, kLabels) > 0 && hasDimension(dataset, dimension) &&
                    !isLabelled(dataset, dimension);
  if (!none) return H5DSget_label(dataset, dimension, label, size);
  if (label != nullptr && size > 0) *label = '\0';
  return 0;
}

}  // namespace hdf5
