// H5T: datatypes. Several inputs are described as what they are not; scripts match
// the messages as they stand.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "convert/integer_class.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using Type = TypeId<"datatype identifier">;
using PlainId = Id<"datatype identifier">;
using LocationId = Id<"location identifier">;
using MemberName = Text<"member name">;

// --- General ---------------------------------------------------------------------

/// Any named constant, or an identifier.
struct CopiedType {
  static hid_t from(const zbArray* array) {
    return isText(array) ? namedIdentifier(array) : LocationId::from(array);
  }
};

/// Bytes, or as many as a string has.
struct SizeOrVariable {
  static std::size_t from(const zbArray* array) {
    if (!isText(array)) return getSizeArg(array);
    const std::string word = textOf(array);
    if (word != "H5T_VARIABLE") raise<msg::sizeStringUnrecognized>(word);
    return H5T_VARIABLE;
  }
};

/// Only the character sets of 1.8 are told; a failure is one of them.
void getCharacterSet(zbArray** outs, const zbArray** ins) {
  const H5T_cset_t set = H5Tget_cset(Type::from(ins[0]));
  if (set <= H5T_CSET_UTF8) outs[0] = zbCreateDoubleScalar(set);
}

// --- Arrays and sequences --------------------------------------------------------

/// The rank is the count of extents, or given before them. An input behind them, once
/// the permutation of the dimensions, is never read.
void createArray(int /*nOut*/, zbArray** outs, int nIn, const zbArray** ins) {
  requireArgCount(nIn >= 2 && nIn <= 4);
  const hid_t base = TypeId<"base datatype identifier">::from(ins[0]);
  if (nIn == 2) {
    const Dims dims = getDimsArg(ins[1], "dims");
    const auto rank = static_cast<unsigned>(dims.size());
    outs[0] = makeHidResult(checked(H5Tarray_create2(base, rank, dims.data())));
    return;
  }
  const auto rank = static_cast<int>(getUIntArg(ins[1]));
  const Dims dims = getDimsArg(ins[2], "dims");
  outs[0] = makeHidResult(checked(H5Tarray_create1(base, rank, dims.data(), nullptr)));
}

void getArrayDims(zbArray** outs, const zbArray** ins) {
  const hid_t type = TypeId<"array datatype identifier">::from(ins[0]);
  const int rank = H5Tget_array_ndims(type);
  if (rank < 0) raise<msg::datasetHasNoRank>();
  Dims dims(static_cast<std::size_t>(rank));
  const int given = checked(H5Tget_array_dims2(type, dims.data()));
  outs[0] = makeSizes(1, static_cast<std::size_t>(given), dims.data());
}

/// Sequences of numbers and of strings; of fixed strings only those of one character.
hid_t createSequence(hid_t base) {
  switch (H5Tget_class(base)) {
    case H5T_INTEGER:
    case H5T_FLOAT: break;
    case H5T_STRING:
      if (H5Tis_variable_str(base) <= 0 && H5Tget_size(base) != 1) {
        raise<msg::badVlstringSuperTypeCreate>();
      }
      break;
    default: raise<msg::badVlenSuperTypeCreate>();
  }
  return H5Tvlen_create(base);
}

// --- Members ---------------------------------------------------------------------

/// An offset has no value that means a failure: the class is asked first.
std::size_t memberOffset(hid_t type, unsigned index) {
  checked(H5Tget_member_class(type, index));
  return H5Tget_member_offset(type, index);
}

// --- Values of enumerations ------------------------------------------------------

bool hasSign(hid_t type) { return H5Tget_sign(type) != H5T_SGN_NONE; }

/// Room for a value of so many bytes, and for every number that a script can see.
using ValueBytes = std::vector<std::byte>;
ValueBytes roomFor(std::size_t size) { return ValueBytes(std::max(size, sizeof(std::int64_t))); }

/// The first `size` bytes as a script sees them.
zbArray* makeEnumValue(std::size_t size, bool isSigned, const ValueBytes& bytes) {
  const std::size_t one[] = {1, 1};
  zbArray* value = zbCreateNumericArray(2, one, integerClass(size, isSigned));
  std::memcpy(zbGetWritableData(value), bytes.data(), zbGetElementSize(value));
  return value;
}

template <class Number>
Number load(const zbArray* array) {
  Number value;
  std::memcpy(&value, zbGetData(array), sizeof value);
  return value;
}

std::int64_t integerOf(const zbArray* array) {
  switch (zbGetClass(array)) {
    case zbClass::Double:
    case zbClass::Single: return truncateToInt64(zbGetScalar(array));
    case zbClass::Int8: return load<std::int8_t>(array);
    case zbClass::Int16: return load<std::int16_t>(array);
    case zbClass::Int32: return load<std::int32_t>(array);
    case zbClass::Int64: return load<std::int64_t>(array);
    case zbClass::UInt8: return load<std::uint8_t>(array);
    case zbClass::UInt16: return load<std::uint16_t>(array);
    case zbClass::UInt32: return load<std::uint32_t>(array);
    case zbClass::UInt64: return static_cast<std::int64_t>(load<std::uint64_t>(array));
    default: raise<msg::badEnumArgumentClass>();
  }
}

/// One value that plain data make up; text and truth are refused by their class.
std::int64_t getEnumValueArg(const zbArray* array) {
  if (zbGetNumberOfElements(array) != 1 || zbGetElementSize(array) == 0 || zbIsComplex(array) ||
      zbIsSparse(array)) {
    raise<msg::badEnumInsertArgument>();
  }
  return integerOf(array);
}

/// An enumeration's base and its native counterpart, between which HDF5 converts a
/// value in place.
class ValueConversion {
 public:
  /// Of an enumeration only: the bases of other datatypes may be of any size, and hold
  /// pointers.
  explicit ValueConversion(hid_t type)
      : base_(H5Tget_class(type) == H5T_ENUM ? H5Tget_super(type) : H5I_INVALID_HID),
        native_(H5Tget_native_type(base_.get(), H5T_DIR_ASCEND)) {}

  [[nodiscard]] bool possible() const { return base_.valid(); }
  [[nodiscard]] std::size_t nativeSize() const { return H5Tget_size(native_.get()); }
  /// What holds a value before and after.
  [[nodiscard]] ValueBytes buffer() const {
    return roomFor(std::max(H5Tget_size(base_.get()), nativeSize()));
  }
  herr_t toNative(void* value) const { return convert(base_, native_, value); }
  herr_t toBase(void* value) const { return convert(native_, base_, value); }

 private:
  static herr_t convert(const hdf5::Type& from, const hdf5::Type& to, void* value) {
    return H5Tconvert(from.get(), to.get(), 1, value, nullptr, H5P_DEFAULT);
  }
  hdf5::Type base_;
  hdf5::Type native_;
};

/// The low bytes of a number, in this machine's order.
void storeLow(std::int64_t number, std::size_t size, void* place) {
  const auto store = [place](auto narrow) { std::memcpy(place, &narrow, sizeof narrow); };
  switch (size) {
    case 1: return store(static_cast<std::int8_t>(number));
    case 2: return store(static_cast<std::int16_t>(number));
    case 4: return store(static_cast<std::int32_t>(number));
    default: return store(number);
  }
}

void enumInsert(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t type = Type::from(ins[0]);
  const std::string name = MemberName::from(ins[1]);
  const std::int64_t number = getEnumValueArg(ins[2]);
  const ValueConversion conversion(type);
  ValueBytes value = conversion.buffer();
  storeLow(number, conversion.nativeSize(), value.data());
  // What is no enumeration HDF5 refuses below.
  if (conversion.possible()) checked(conversion.toBase(value.data()));
  checked(H5Tenum_insert(type, name.c_str(), value.data()));
}

/// Bytes of a value. What is no enumeration HDF5 refuses before it looks at any, and
/// may be of any size.
std::size_t valueSize(hid_t type) { return H5Tget_class(type) == H5T_ENUM ? H5Tget_size(type) : 0; }

/// HDF5 compares as many bytes as the datatype has.
void enumNameOf(zbArray** outs, const zbArray** ins) {
  const hid_t type = Type::from(ins[0]);
  const std::size_t given = zbGetNumberOfElements(ins[1]) * zbGetElementSize(ins[1]);
  const std::size_t needed = valueSize(type);
  const void* value = zbGetData(ins[1]);
  ValueBytes padded;
  if (value != nullptr && given < needed) {
    padded.resize(needed);
    std::memcpy(padded.data(), value, given);
    value = padded.data();
  }
  std::array<char, 1024> name{};
  checked(H5Tenum_nameof(type, value, name.data(), name.size()));
  outs[0] = zbCreateString(name.data());
}

/// The value as the datatype holds it, byte order and all.
void enumValueOf(zbArray** outs, const zbArray** ins) {
  const hid_t type = Type::from(ins[0]);
  const std::string name = MemberName::from(ins[1]);
  const std::size_t size = valueSize(type);
  ValueBytes value = roomFor(size);
  checked(H5Tenum_valueof(type, name.c_str(), value.data()));
  outs[0] = makeEnumValue(size, hasSign(type), value);
}

/// The value as this machine has it.
void getMemberValue(zbArray** outs, const zbArray** ins) {
  const hid_t type = Type::from(ins[0]);
  const unsigned index = getUIntArg(ins[1]);
  const ValueConversion conversion(type);
  ValueBytes value = conversion.buffer();
  checked(H5Tget_member_value(type, index, value.data()));
  conversion.toNative(value.data());
  outs[0] = makeEnumValue(conversion.nativeSize(), hasSign(type), value);
}

constexpr Row kDatatypeFunctions[] = {
    // name                    call                    gives       takes
    {"H5Tclose", wrap<H5Tclose, Nothing, PlainId>},
    {"H5Tcommit", byCount<Form<H5Tcommit1, Nothing, LocationId, Text<"datatype name">, LocationId>,
                          Form<H5Tcommit2, Nothing, LocationId, Text<"datatype name">, LocationId,
                               ObjectListByName<"link creation property list identifier">,
                               ObjectListByName<"datatype creation property list identifier">,
                               ObjectListByName<"datatype access property list identifier">>>},
    {"H5Tcommitted", wrap<H5Tcommitted, Number, Type>},
    {"H5Tcopy", wrap<H5Tcopy, Identifier, CopiedType>},
    {"H5Tcreate", wrap<H5Tcreate, Identifier, Enum<H5T_class_t>, Size>},
    {"H5Tdetect_class", wrap<H5Tdetect_class, Number, Type, Enum<H5T_class_t>>},
    {"H5Tequal", wrap<H5Tequal, Number, Type, Type>},
    {"H5Tget_class", wrap<H5Tget_class, Number, Type>},
    {"H5Tget_create_plist", wrap<H5Tget_create_plist, Identifier, PlainId>},
    {"H5Tget_native_type", wrap<H5Tget_native_type, Identifier, Type, Enum<H5T_direction_t>>},
    {"H5Tget_size", wrap<H5Tget_size, SizeNonZero, Type>},
    {"H5Tget_super", wrap<H5Tget_super, Identifier, Type>},
    {"H5Tis_variable_str", wrap<H5Tis_variable_str, Number, Type>},
    {"H5Tlock", wrap<H5Tlock, Nothing, Type>},
    {"H5Topen", byCount<Form<H5Topen1, Identifier, LocationId, Text<"dataset name">>,
                        Form<H5Topen2, Identifier, LocationId, Text<"dataset name">,
                             ObjectList<"datatype access property list">>>},
    {"H5Tpack", wrap<H5Tpack, Nothing, Type>},
    {"H5Tset_size", wrap<H5Tset_size, Nothing, PlainId, SizeOrVariable>},

    // Atomic datatypes
    {"H5Tget_cset", rule<1, getCharacterSet>},
    {"H5Tset_cset", wrap<H5Tset_cset, Nothing, Type, Enum<H5T_cset_t>>},
    {"H5Tget_ebias", wrap<H5Tget_ebias, SizeNonZero, Type>},
    {"H5Tset_ebias", wrap<H5Tset_ebias, Nothing, Type, StrictSize<"EBIAS">>},
    {"H5Tget_fields", wrap<H5Tget_fields,
                           Outputs<AsSize<std::size_t>, AsSize<std::size_t>, AsSize<std::size_t>,
                                   AsSize<std::size_t>, AsSize<std::size_t>>,
                           Type>},
    {"H5Tset_fields", wrap<H5Tset_fields, Nothing, Type, Size, Size, Size, Size, Size>},
    {"H5Tget_inpad", wrap<H5Tget_inpad, Number, Type>},
    {"H5Tset_inpad", wrap<H5Tset_inpad, Nothing, Type, Enum<H5T_pad_t>>},
    {"H5Tget_norm", wrap<H5Tget_norm, Number, Type>},
    {"H5Tset_norm", wrap<H5Tset_norm, Nothing, Type, Enum<H5T_norm_t>>},
    {"H5Tget_offset", wrap<H5Tget_offset, Number, Type>},
    {"H5Tset_offset", wrap<H5Tset_offset, Nothing, Type, Unsigned>},
    {"H5Tget_order", wrap<H5Tget_order, Number, Type>},
    {"H5Tset_order", wrap<H5Tset_order, Nothing, Type, Enum<H5T_order_t>>},
    {"H5Tget_pad", wrap<H5Tget_pad, Outputs<AsNumber<H5T_pad_t>, AsNumber<H5T_pad_t>>, Type>},
    {"H5Tset_pad", wrap<H5Tset_pad, Nothing, Type, Enum<H5T_pad_t>, Enum<H5T_pad_t>>},
    {"H5Tget_precision", wrap<H5Tget_precision, SizeNonZero, Type>},
    {"H5Tset_precision", wrap<H5Tset_precision, Nothing, Type, StrictSize<"PREC">>},
    {"H5Tget_sign", wrap<H5Tget_sign, Number, Type>},
    {"H5Tset_sign", wrap<H5Tset_sign, Nothing, Type, Enum<H5T_sign_t>>},
    {"H5Tget_strpad", wrap<H5Tget_strpad, Number, Type>},
    {"H5Tset_strpad", wrap<H5Tset_strpad, Nothing, Type, Enum<H5T_str_t>>},

    // Composite datatypes
    {"H5Tarray_create", createArray},
    {"H5Tget_array_dims", rule<1, getArrayDims>},
    {"H5Tget_array_ndims", wrap<H5Tget_array_ndims, Number, Type>},
    {"H5Tvlen_create", wrap<createSequence, Identifier, Type>},
    {"H5Tget_nmembers", wrap<H5Tget_nmembers, Number, Type>},
    {"H5Tget_member_class", wrap<H5Tget_member_class, Number, Type, Unsigned>},
    {"H5Tget_member_index", wrap<H5Tget_member_index, Number, Type, MemberName>},
    {"H5Tget_member_name", wrap<H5Tget_member_name, AllocatedText, Type, Unsigned>},
    {"H5Tget_member_offset", wrap<memberOffset, RawSize, Type, Unsigned>},
    {"H5Tget_member_type", wrap<H5Tget_member_type, Identifier, Type, Unsigned>},
    {"H5Tinsert", wrap<H5Tinsert, Nothing, Type, MemberName, Size, Type>},
    {"H5Tget_tag", wrap<H5Tget_tag, AllocatedText, Type>},
    {"H5Tset_tag", wrap<H5Tset_tag, Nothing, Type, Text<"tag">>},

    // Enumerations
    {"H5Tenum_create", wrap<H5Tenum_create, Identifier, Type>},
    {"H5Tenum_insert", rule<3, enumInsert>},
    {"H5Tenum_nameof", rule<2, enumNameOf>},
    {"H5Tenum_valueof", rule<2, enumValueOf>},
    {"H5Tget_member_value", rule<2, getMemberValue>},
};

}  // namespace

std::span<const Row> datatypeFunctions() { return kDatatypeFunctions; }

}  // namespace h5gate
