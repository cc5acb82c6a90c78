#include "runtime/datatype.hpp"

#include "hdf5/allocated_text.hpp"
#include "host/library_error.hpp"
#include "host/numeric_class.hpp"
#include "runtime/host_error.hpp"

namespace zembra {

using Zembra::checked;

namespace {

const char* datatypeClassName(H5T_class_t typeClass) {
  switch (typeClass) {
    case H5T_INTEGER: return "H5T_INTEGER";
    case H5T_FLOAT: return "H5T_FLOAT";
    case H5T_TIME: return "H5T_TIME";
    case H5T_STRING: return "H5T_STRING";
    case H5T_BITFIELD: return "H5T_BITFIELD";
    case H5T_OPAQUE: return "H5T_OPAQUE";
    case H5T_COMPOUND: return "H5T_COMPOUND";
    case H5T_REFERENCE: return "H5T_REFERENCE";
    case H5T_ENUM: return "H5T_ENUM";
    case H5T_VLEN: return "H5T_VLEN";
    case H5T_ARRAY: return "H5T_ARRAY";
    default: return "of an unknown class";
  }
}

}  // namespace

H5T_class_t datatypeClass(hid_t type) { return checked(H5Tget_class(type)); }

std::size_t datatypeSize(hid_t type) {
  const std::size_t size = H5Tget_size(type);
  if (size == 0) KVH5libraryError();
  return size;
}

bool isVariableText(hid_t type) { return checked(H5Tis_variable_str(type)) > 0; }

hdf5::Type baseDatatype(hid_t type) { return hdf5::Type(checked(H5Tget_super(type))); }

hdf5::Type copyDatatype(hid_t type) { return hdf5::Type(checked(H5Tcopy(type))); }

unsigned memberCount(hid_t type) { return static_cast<unsigned>(checked(H5Tget_nmembers(type))); }

std::string memberName(hid_t type, unsigned index) {
  const hdf5::AllocatedText name(H5Tget_member_name(type, index));
  if (!name) KVH5libraryError();
  return name.get();
}

hdf5::Type memberDatatype(hid_t type, unsigned index) {
  return hdf5::Type(checked(H5Tget_member_type(type, index)));
}

std::vector<hsize_t> arrayDimensions(hid_t type) {
  std::vector<hsize_t> dimensions(static_cast<std::size_t>(checked(H5Tget_array_ndims(type))));
  checked(H5Tget_array_dims2(type, dimensions.data()));
  return dimensions;
}

std::string describeDatatype(H5T_class_t typeClass, std::size_t size, bool variableText) {
  std::string text = datatypeClassName(typeClass);
  text += variableText ? " of variable length" : " of " + std::to_string(size) + " bytes";
  return text;
}

std::string describeDatatype(hid_t type) {
  return describeDatatype(datatypeClass(type), datatypeSize(type), isVariableText(type));
}

zbClass numberClass(hid_t type) {
  return numberClass(type, datatypeClass(type), datatypeSize(type));
}

zbClass numberClass(hid_t type, H5T_class_t typeClass, std::size_t size) {
  if (typeClass == H5T_FLOAT) return size <= 4 ? zbClass::Single : zbClass::Double;
  const bool isSigned = typeClass == H5T_INTEGER && checked(H5Tget_sign(type)) != H5T_SGN_NONE;
  const zbClass holder = Zembra::integerClass(size, isSigned);
  if (holder == zbClass::Unknown) refuseDatatype(type);
  return holder;
}

hid_t nativeNumber(zbClass hostClass) {
  switch (hostClass) {
    case zbClass::Double: return H5T_NATIVE_DOUBLE;
    case zbClass::Single: return H5T_NATIVE_FLOAT;
    case zbClass::Int8: return H5T_NATIVE_INT8;
    case zbClass::Int16: return H5T_NATIVE_INT16;
    case zbClass::UInt16: return H5T_NATIVE_UINT16;
    case zbClass::Int32: return H5T_NATIVE_INT32;
    case zbClass::UInt32: return H5T_NATIVE_UINT32;
    case zbClass::Int64: return H5T_NATIVE_INT64;
    case zbClass::UInt64: return H5T_NATIVE_UINT64;
    default: return H5T_NATIVE_UINT8;  // logical too
  }
}

hid_t nativeBitField(zbClass hostClass) {
  switch (hostClass) {
    case zbClass::UInt16: return H5T_NATIVE_B16;
    case zbClass::UInt32: return H5T_NATIVE_B32;
    case zbClass::UInt64: return H5T_NATIVE_B64;
    default: return H5T_NATIVE_B8;
  }
}

void requireReference(hid_t type) {
  const std::size_t size = datatypeSize(type);
  if (size != sizeof(hobj_ref_t) && size != sizeof(hdset_reg_ref_t)) refuseDatatype(type);
}

void requireShallow(int depth) {
  if (depth > kMaxNesting) {
    raiseHostError("unsupportedDatatype",
                   "A datatype nested more than " + std::to_string(kMaxNesting) +
                       " levels deep has no form in the host.",
                   {std::int64_t{depth}});
  }
}

void refuseDatatype(hid_t type) {
  const std::string name = describeDatatype(type);
  raiseHostError("unsupportedDatatype",
                 "Data of the datatype " + name + " have no form in the host.", {name});
}

}  // namespace zembra
