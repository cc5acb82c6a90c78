// H5R: references. A host reference is the reference's bytes as HDF5 writes them,
// a uint8 array of whatever shape.
#include "hdf5/reference_shields.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using ObjectId = Id<"object identifier">;
using LocationId = Id<"location identifier">;
using DatasetId = Id<"dataset identifier">;
using Type = Enum<H5R_type_t>;

std::size_t referenceSize(H5R_type_t type) {
  switch (type) {
    case H5R_OBJECT: return H5R_OBJ_REF_BUF_SIZE;
    case H5R_DATASET_REGION: return H5R_DSET_REG_REF_BUF_SIZE;
    default: raise<msg::unrecognizedReferenceType>();
  }
}

void create(Inputs ins, Results& outs) {
  const auto [location, name, type, space] =
      take<LocationId, Text<"reference">, Type, Id<"dataspace identifier">>(ins);
  const std::size_t shape[] = {1, referenceSize(type)};
  zbArray* reference = zbCreateNumericArray(2, shape, zbClass::UInt8);
  checked(H5Rcreate(zbGetWritableData(reference), location, name.c_str(), type, space));
  outs.give(reference);
}

/// The type of a reference, and the bytes of one of this type: two inputs.
struct Reference {
  static constexpr std::size_t inputs = 2;
  struct Taken {
    H5R_type_t type;
    const void* bytes;
    [[nodiscard]] auto arguments() const { return std::tuple(type, bytes); }
  };
  static Taken from(Inputs typeAndBytes) {
    const H5R_type_t type = Type::from(typeAndBytes[0]);
    const zbArray* bytes = typeAndBytes[1];
    if (zbGetClass(bytes) != zbClass::UInt8) raiseAbout<msg::assertReference>(bytes);
    if (zbGetNumberOfElements(bytes) != referenceSize(type))
      raiseAbout<msg::assertReferenceSize>(bytes);
    return {type, zbGetData(bytes)};
  }
};

/// A reference that leads nowhere gives a negative identifier; only a negative
/// identifier to start from raises.
hid_t dereference(hid_t object, H5R_type_t type, const void* reference) {
  const hid_t found = hdf5::OfSoundReference<hdf5::dereference>::follow(object, type, reference);
  checked(object);
  return found;
}

constexpr auto getName = hdf5::OfSoundReference<H5Rget_name>::follow;
constexpr auto getObjectType = hdf5::OfSoundReference<H5Rget_obj_type1>::follow;
constexpr auto getRegion = hdf5::OfSoundReference<H5Rget_region>::follow;

constexpr Row kReferenceFunctions[] = {
    // clang-format off
    //   name             calls          gives                  takes
    OWN(H5Rcreate,                       create),
    CALL(H5Rdereference,  dereference,   Unchecked<Identifier>, ObjectId, Reference),
    CALL(H5Rget_name,     getName,       BufferedText,          LocationId, Reference, Buffer),
    CALL(H5Rget_obj_type, getObjectType, Unchecked<Number>,     LocationId, Reference),
    CALL(H5Rget_region,   getRegion,     Identifier,            DatasetId, Reference),
};  // clang-format on

}  // namespace

std::span<const Row> referenceFunctions() { return kReferenceFunctions; }

}  // namespace h5gate
