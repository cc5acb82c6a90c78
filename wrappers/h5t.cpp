// H5T: datatypes. Several inputs are described as what they are not; scripts match
// the messages as they stand.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "hdf5/closing.hpp"
#include "hdf5/type_shields.hpp"
#include "host/numeric_class.hpp"
#include "wrappers/own_row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using Type = TypeId<"datatype identifier">;
using PlainId = Id<"datatype identifier">;
using LocationId = Id<"location identifier">;
using MemberName = Text<"member name">;
using Name = Text<"datatype name">;
using OpenedName = Text<"dataset name">;  // datatypes are opened by it
using ArrayDims = Dims<"dims">;
using BaseType = TypeId<"base datatype identifier">;
using LinkList = ObjectListByName<"link creation property list identifier">;
using CreationList = ObjectListByName<"datatype creation property list identifier">;
using AccessListByName = ObjectListByName<"datatype access property list identifier">;
using AccessList = ObjectList<"datatype access property list">;

// --- General ---------------------------------------------------------------------

constexpr auto copy = hdf5::OfCopiedType<H5Tcopy>::create;
constexpr auto createArray1 = hdf5::OfCopiedType<hdf5::OfPart<H5Tarray_create1>::create>::create;
constexpr auto createArray2 = hdf5::OfCopiedType<hdf5::OfPart<H5Tarray_create2>::create>::create;
constexpr auto commit1 = hdf5::commitType<H5Tcommit1>;
constexpr auto commit2 = hdf5::commitType<H5Tcommit2, hid_t, hid_t, hid_t>;

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
    if (word != "H5T_VARIABLE") raiseAbout<msg::sizeStringUnrecognized>(array, word);
    return H5T_VARIABLE;
  }
};

herr_t setPadding(hid_t type, H5T_pad_t low, H5T_pad_t high) {
  return hdf5::changeTransient<H5Tset_pad>("H5Tset_pad", type, low, high);
}
herr_t setSign(hid_t type, H5T_sign_t sign) {
  return hdf5::changeTransient<H5Tset_sign>("H5Tset_sign", type, sign);
}

/// Only the character sets of 1.8 are told; a failure is one of them.
void getCharacterSet(Inputs ins, Results& outs) {
  const auto [type] = take<Type>(ins);
  const H5T_cset_t set = H5Tget_cset(type);
  if (set <= H5T_CSET_UTF8) outs.give(makeNumber(set));
}

// --- Arrays and sequences --------------------------------------------------------

struct Rank {
  static int from(const zbArray* array) { return static_cast<int>(getUIntArg(array)); }
};

/// An input behind the dimensions of an array, once their permutation, is never read.
template <std::size_t Given>
struct Permutation {
  static constexpr std::size_t inputs = Given;
  static const int* from(Inputs /*given*/) { return nullptr; }
};

void getArrayDims(Inputs ins, Results& outs) {
  const auto [type] = take<TypeId<"array datatype identifier">>(ins);
  const int rank = H5Tget_array_ndims(type);
  if (rank < 0) raiseFailed<msg::datasetHasNoRank>();
  PaddedSizes dims(static_cast<std::size_t>(rank));
  const int given = checked(H5Tget_array_dims2(type, dims.data()));
  outs.give(makeSizes(1, static_cast<std::size_t>(given), dims.data()));
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
    case H5T_NO_CLASS: raiseFailed<msg::badVlenSuperTypeCreate>();
    default: raise<msg::badVlenSuperTypeCreate>();
  }
  return hdf5::OfPart<H5Tvlen_create>::create(base);
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
  zbArray* value = zbCreateNumericArray(2, one, Zembra::integerClass(size, isSigned));
  std::memcpy(zbGetWritableData(value), bytes.data(), zbGetElementSize(value));
  return value;
}

/// The number as the datatype's code; of whatever is no number in a numeric class.
std::int64_t integerOf(const zbArray* array) {
  if (!zbIsNumeric(array)) raiseAbout<msg::badEnumArgumentClass>(array);
  const auto convert = [array]<class Value>(Value value) {
    std::memcpy(&value, zbGetData(array), sizeof value);
    if constexpr (std::is_floating_point_v<Value>) {
      return truncateToInt64(value);
    } else {
      return static_cast<std::int64_t>(value);
    }
  };
  return Zembra::withNumericType(zbGetClass(array), convert, [] { return std::int64_t{0}; });
}

/// One value that plain data make up; text and truth are refused by their class.
struct EnumValue {
  static std::int64_t from(const zbArray* array) {
    if (zbGetNumberOfElements(array) != 1 || zbGetElementSize(array) == 0 || zbIsComplex(array) ||
        zbIsSparse(array)) {
      raiseAbout<msg::badEnumInsertArgument>(array);
    }
    return integerOf(array);
  }
};

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

void enumInsert(Inputs ins, Results& /*outs*/) {
  const auto [type, name, number] = take<Type, MemberName, EnumValue>(ins);
  const ValueConversion conversion(type);
  ValueBytes value = conversion.buffer();
  storeLow(number, conversion.nativeSize(), value.data());
  // What is no enumeration HDF5 refuses below.
  if (conversion.possible()) checked(conversion.toBase(value.data()));
  requireOwn(type);
  checked(H5Tenum_insert(type, name.c_str(), value.data()));
}

/// Bytes of a value. What is no enumeration HDF5 refuses before it looks at any, and
/// may be of any size.
std::size_t valueSize(hid_t type) { return H5Tget_class(type) == H5T_ENUM ? H5Tget_size(type) : 0; }

/// HDF5 compares as many bytes as the datatype has.
void enumNameOf(Inputs ins, Results& outs) {
  const auto [type, array] = take<Type, Any>(ins);
  const std::size_t given = zbGetNumberOfElements(array) * zbGetElementSize(array);
  const std::size_t needed = valueSize(type);
  const void* value = zbGetData(array);
  ValueBytes padded;
  if (value != nullptr && given < needed) {
    padded.resize(needed);
    std::memcpy(padded.data(), value, given);
    value = padded.data();
  }
  std::array<char, 1024> name{};
  checked(H5Tenum_nameof(type, value, name.data(), name.size()));
  outs.give(zbCreateString(name.data()));
}

/// The value as the datatype holds it, byte order and all.
void enumValueOf(Inputs ins, Results& outs) {
  const auto [type, name] = take<Type, MemberName>(ins);
  const std::size_t size = valueSize(type);
  ValueBytes value = roomFor(size);
  checked(H5Tenum_valueof(type, name.c_str(), value.data()));
  outs.give(makeEnumValue(size, hasSign(type), value));
}

/// The value as this machine has it.
void getMemberValue(Inputs ins, Results& outs) {
  const auto [type, index] = take<Type, Unsigned>(ins);
  const ValueConversion conversion(type);
  ValueBytes value = conversion.buffer();
  checked(H5Tget_member_value(type, index, value.data()));
  conversion.toNative(value.data());
  outs.give(makeEnumValue(conversion.nativeSize(), hasSign(type), value));
}

constexpr Row kDatatypeFunctions[] = {
    // clang-format off
    //  name                  gives                    takes
    CALL(H5Tclose, hdf5::closeType, Nothing, PlainId),
    BY_COUNT(H5Tcommit,
        Form<commit1,         Nothing,                 LocationId, Name, LocationId>,
        Form<commit2,         Nothing,                 LocationId, Name, LocationId, LinkList,
                                                       CreationList, AccessListByName>),
    ROW(H5Tcommitted,         Number,                  Type),
    CALL(H5Tcopy, copy,       Identifier,              CopiedType),
    ROW(H5Tcreate,            Identifier,              Enum<H5T_class_t>, Size),
    ROW(H5Tdetect_class,      Number,                  Type, Enum<H5T_class_t>),
    ROW(H5Tequal,             Number,                  Type, Type),
    ROW(H5Tget_class,         Number,                  Type),
    ROW(H5Tget_create_plist,  Identifier,              PlainId),
    ROW(H5Tget_native_type,   Identifier,              Type, Enum<H5T_direction_t>),
    ROW(H5Tget_size,          Unless<0, Number>,       Type),
    ROW(H5Tget_super,         Identifier,              Type),
    ROW(H5Tis_variable_str,   Number,                  Type),
    CALL(H5Tlock, hdf5::lockType, Nothing,             Type),
    BY_COUNT(H5Topen,
        Form<H5Topen1,        Identifier,              LocationId, OpenedName>,
        Form<H5Topen2,        Identifier,              LocationId, OpenedName, AccessList>),
    SHIELDED(H5Tpack, hdf5::packType, Nothing,         Type),
    SHIELDED(H5Tset_size, hdf5::setTypeSize, Nothing,  PlainId, SizeOrVariable),

    // Atomic datatypes
    OWN(H5Tget_cset,          getCharacterSet),
    SET(H5Tset_cset,          Nothing,                 Type, Enum<H5T_cset_t>),
    ROW(H5Tget_ebias,         Unless<0, Number>,       Type),
    SET(H5Tset_ebias,         Nothing,                 Type, StrictSize<"EBIAS">),
    ROW(H5Tget_fields,        Outputs<size_t, size_t, size_t, size_t, size_t>,
                                                       Type),
    SET(H5Tset_fields,        Nothing,                 Type, Size, Size, Size, Size, Size),
    ROW(H5Tget_inpad,         Number,                  Type),
    SET(H5Tset_inpad,         Nothing,                 Type, Enum<H5T_pad_t>),
    ROW(H5Tget_norm,          Number,                  Type),
    SET(H5Tset_norm,          Nothing,                 Type, Enum<H5T_norm_t>),
    ROW(H5Tget_offset,        Number,                  Type),
    SHIELDED(H5Tset_offset, hdf5::setTypeOffset, Nothing, Type, Unsigned),
    ROW(H5Tget_order,         Number,                  Type),
    SET(H5Tset_order,         Nothing,                 Type, Enum<H5T_order_t>),
    ROW(H5Tget_pad,           Outputs<H5T_pad_t, H5T_pad_t>, Type),
    SHIELDED(H5Tset_pad, setPadding, Nothing,          Type, Enum<H5T_pad_t>, Enum<H5T_pad_t>),
    ROW(H5Tget_precision,     Unless<0, Number>,       Type),
    SET(H5Tset_precision,     Nothing,                 Type, StrictSize<"PREC">),
    ROW(H5Tget_sign,          Number,                  Type),
    SHIELDED(H5Tset_sign, setSign, Nothing,            Type, Enum<H5T_sign_t>),
    ROW(H5Tget_strpad,        Number,                  Type),
    SET(H5Tset_strpad,        Nothing,                 Type, Enum<H5T_str_t>),

    // Composite datatypes
    BY_COUNT(H5Tarray_create,
        Form<createArray2,     Identifier,             BaseType, Counted<ArrayDims, unsigned>>,
        Form<createArray1,     Identifier,             BaseType, Rank, ArrayDims, Permutation<0>>,
        Form<createArray1,     Identifier,             BaseType, Rank, ArrayDims, Permutation<1>>),
    OWN(H5Tget_array_dims,    getArrayDims),
    ROW(H5Tget_array_ndims,   Number,                  Type),
    CALL(H5Tvlen_create, createSequence, Identifier,   Type),
    ROW(H5Tget_nmembers,      Number,                  Type),
    ROW(H5Tget_member_class,  Number,                  Type, Unsigned),
    ROW(H5Tget_member_index,  Number,                  Type, MemberName),
    ROW(H5Tget_member_name,   AllocatedText,           Type, Unsigned),
    CALL(H5Tget_member_offset, memberOffset, Unchecked<Number>, Type, Unsigned),
    ROW(H5Tget_member_type,   Identifier,              Type, Unsigned),
    SHIELDED(H5Tinsert, hdf5::insertMember, Nothing,   Type, MemberName, Size, Type),
    ROW(H5Tget_tag,           AllocatedText,           Type),
    SET(H5Tset_tag,           Nothing,                 Type, Text<"tag">),

    // Enumerations
    CALL(H5Tenum_create, hdf5::OfPart<H5Tenum_create>::create, Identifier, Type),
    OWN(H5Tenum_insert,       enumInsert),
    OWN(H5Tenum_nameof,       enumNameOf),
    OWN(H5Tenum_valueof,      enumValueOf),
    OWN(H5Tget_member_value,  getMemberValue),
};  // clang-format on

}  // namespace

std::span<const Row> datatypeFunctions() { return kDatatypeFunctions; }

}  // namespace h5gate
