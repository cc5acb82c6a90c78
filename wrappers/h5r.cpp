// H5R: references. A host reference is the reference's bytes as HDF5 writes them,
// a uint8 array of whatever shape.
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

std::size_t referenceSize(H5R_type_t type) {
  switch (type) {
    case H5R_OBJECT: return H5R_OBJ_REF_BUF_SIZE;
    case H5R_DATASET_REGION: return H5R_DSET_REG_REF_BUF_SIZE;
    default: raise<msg::unrecognizedReferenceType>();
  }
}

/// The bytes of a reference of this type.
const void* getReferenceArg(const zbArray* array, H5R_type_t type) {
  if (zbGetClass(array) != zbClass::UInt8) raise<msg::assertReference>();
  if (zbGetNumberOfElements(array) != referenceSize(type)) raise<msg::assertReferenceSize>();
  return zbGetData(array);
}

void create(zbArray** outs, const zbArray** ins) {
  const hid_t location = Id<"location identifier">::from(ins[0]);
  const std::string name = Text<"reference">::from(ins[1]);
  const auto type = getEnumArg<H5R_type_t>(ins[2]);
  const hid_t space = Id<"dataspace identifier">::from(ins[3]);
  const std::size_t shape[] = {1, referenceSize(type)};
  zbArray* reference = zbCreateNumericArray(2, shape, zbClass::UInt8);
  checked(H5Rcreate(zbGetWritableData(reference), location, name.c_str(), type, space));
  outs[0] = reference;
}

/// What the others take: where the reference leads, its type, its bytes.
template <Description Location, auto Call, class Gives>
void follow(zbArray** outs, const zbArray** ins) {
  const hid_t location = getHidArg(ins[0], Location.text);
  const auto type = getEnumArg<H5R_type_t>(ins[1]);
  const void* reference = getReferenceArg(ins[2], type);
  Gives::run(outs, Call, location, type, reference);
}

/// A reference that leads nowhere gives a negative identifier; only a negative
/// identifier to start from raises.
struct Dereferenced {
  template <class Call>
  static void run(zbArray** outs, Call call, hid_t object, H5R_type_t type, const void* reference) {
    const hid_t found = call(object, type, reference);
    checked(object);
    outs[0] = makeHidResult(found);
  }
};

constexpr Row kReferenceFunctions[] = {
    // name                      start from             call              gives
    {"H5Rcreate", rule<4, create>},
    {"H5Rdereference", rule<3, follow<"object identifier", hdf5::dereference, Dereferenced>>},
    {"H5Rget_name", rule<3, follow<"location identifier", H5Rget_name, CheckedText>>},
    {"H5Rget_obj_type", rule<3, follow<"location identifier", H5Rget_obj_type1, RawNumber>>},
    {"H5Rget_region", rule<3, follow<"dataset identifier", H5Rget_region, Identifier>>},
};

}  // namespace

std::span<const Row> referenceFunctions() { return kReferenceFunctions; }

}  // namespace h5gate
