// HDF5Dataset on its own: every HDF5 class both ways through a file in memory, nested
// data, foreign layouts, partial selections, and everything that is refused.
#include "host/hdf5_dataset.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

#include "hdf5/handle.hpp"
#include "host/messages.hpp"
#include "runtime/call_scope.hpp"
#include "runtime/host_error.hpp"

namespace {

using hdf5::Space;
using hdf5::Type;
using testing::ElementsAre;
using testing::HasSubstr;
using zembra::makeCell;
using zembra::makeNumeric;
using zembra::makeStruct;
using zembra::makeText;
using zembra::Shape;
using zembra::Value;
using Dims = std::vector<hsize_t>;

// --- Host arrays ----------------------------------------------------------------

template <class T>
constexpr zbClass kClassOf = zbClass::Unknown;
template <>
constexpr zbClass kClassOf<double> = zbClass::Double;
template <>
constexpr zbClass kClassOf<float> = zbClass::Single;
template <>
constexpr zbClass kClassOf<std::int8_t> = zbClass::Int8;
template <>
constexpr zbClass kClassOf<std::uint8_t> = zbClass::UInt8;
template <>
constexpr zbClass kClassOf<std::int16_t> = zbClass::Int16;
template <>
constexpr zbClass kClassOf<std::uint16_t> = zbClass::UInt16;
template <>
constexpr zbClass kClassOf<std::int32_t> = zbClass::Int32;
template <>
constexpr zbClass kClassOf<std::uint32_t> = zbClass::UInt32;
template <>
constexpr zbClass kClassOf<std::int64_t> = zbClass::Int64;
template <>
constexpr zbClass kClassOf<std::uint64_t> = zbClass::UInt64;

template <class T>
Value numbers(const Shape& shape, const std::vector<T>& values) {
  return makeNumeric(kClassOf<T>, shape, values.data());
}

template <class T>
Value column(const std::vector<T>& values) {
  return numbers<T>({values.size()}, values);
}

Value logical(const std::vector<std::uint8_t>& values) {
  return makeNumeric(zbClass::Logical, {values.size()}, values.data());
}

Value chars(const Shape& shape, std::string_view bytes) {
  return makeNumeric(zbClass::Char, shape, bytes.data());
}

template <class... Items>
Value cell(Items... items) {
  return makeCell({sizeof...(items)}, std::vector<Value>{std::move(items)...});
}

Value texts(const std::vector<std::string_view>& values) {
  std::vector<Value> items;
  for (const std::string_view value : values) items.push_back(makeText(value));
  return makeCell({values.size()}, std::move(items));
}

Shape shapeOf(const zbArray* array) { return {array->shape(), array->shape() + array->rank}; }

template <class T>
std::vector<T> valuesOf(const zbArray* array) {
  EXPECT_EQ(array->type, kClassOf<T>) << zembra::describe(array);
  if (array->type != kClassOf<T>) return {};
  const auto* data = static_cast<const T*>(array->data);
  return {data, data + array->elements};
}

std::string textOf(const zbArray* array) {
  EXPECT_EQ(array->type, zbClass::Char) << zembra::describe(array);
  if (array->type != zbClass::Char) return {};
  return {static_cast<const char*>(array->data), array->elements};
}

std::vector<std::string> textsOf(const zbArray* array) {
  std::vector<std::string> result;
  for (std::size_t i = 0; i < array->elements; ++i) result.push_back(textOf(zbGetCell(array, i)));
  return result;
}

const zbArray* field(const zbArray* structure, const char* name) {
  const zbArray* value = zbGetField(structure, 0, name);
  if (value == nullptr) throw std::runtime_error(std::string("no field ") + name);
  return value;
}

const zbArray* item(const Value& array, std::size_t index) { return zbGetCell(array.get(), index); }

// --- HDF5 datatypes and spaces ----------------------------------------------------

Space simple(const Dims& dims) {
  return Space(H5Screate_simple(static_cast<int>(dims.size()), dims.data(), nullptr));
}
Space scalar() { return Space(H5Screate(H5S_SCALAR)); }
Space null() { return Space(H5Screate(H5S_NULL)); }

Type copy(hid_t type) { return Type(H5Tcopy(type)); }

Type sized(hid_t type, std::size_t size) {
  Type result = copy(type);
  if (H5Tget_class(type) != H5T_STRING) H5Tset_precision(result.get(), 8 * size);
  H5Tset_size(result.get(), size);
  return result;
}

Type fixedText(std::size_t size, H5T_str_t padding = H5T_STR_NULLTERM) {
  Type type = sized(H5T_C_S1, size);
  H5Tset_strpad(type.get(), padding);
  return type;
}

Type variableText(H5T_cset_t encoding = H5T_CSET_ASCII) {
  Type type = sized(H5T_C_S1, H5T_VARIABLE);
  H5Tset_cset(type.get(), encoding);
  return type;
}

Type arrayOf(hid_t base, const Dims& dims) {
  return Type(H5Tarray_create2(base, static_cast<unsigned>(dims.size()), dims.data()));
}

Type sequenceOf(hid_t base) { return Type(H5Tvlen_create(base)); }

/// Members with a gap of `gap` bytes before each.
Type compoundOf(const std::vector<std::pair<const char*, hid_t>>& members, std::size_t gap = 0) {
  std::size_t size = 0;
  for (const auto& member : members) size += gap + H5Tget_size(member.second);
  Type type(H5Tcreate(H5T_COMPOUND, size));
  std::size_t offset = 0;
  for (const auto& [name, member] : members) {
    H5Tinsert(type.get(), name, offset + gap, member);
    offset += gap + H5Tget_size(member);
  }
  return type;
}

Type colours(hid_t base) {
  Type type(H5Tenum_create(base));
  int value = 0;
  for (const char* name : {"red", "green", "blue"}) {
    std::array<std::byte, 16> bytes{};
    std::memcpy(bytes.data(), &value, sizeof value);
    H5Tconvert(H5T_NATIVE_INT, base, 1, bytes.data(), nullptr, H5P_DEFAULT);
    H5Tenum_insert(type.get(), name, bytes.data());
    ++value;
  }
  return type;
}

Type memoryType(hid_t fileType) { return Type(HDF5Dataset::getMemDatatype(fileType)); }
Type memoryType(hid_t fileType, const Value& data) {
  return Type(HDF5Dataset::getMemDatatype(fileType, data.get()));
}

bool equal(const Type& type, hid_t other) { return H5Tequal(type.get(), other) > 0; }

// --- Failures ---------------------------------------------------------------------

template <class Action>
zembra::HostError::Content failureOf(Action action) {
  try {
    action();
  } catch (const zembra::HostError& error) {
    return *error.operator->();
  }
  ADD_FAILURE() << "nothing was raised";
  return {};
}

template <class Action>
std::string refusal(const char* key, Action action) {
  const auto failure = failureOf(action);
  EXPECT_EQ(failure.key, key) << failure.text;
  EXPECT_EQ(failure.identifier, std::string("Zembra:host:") + key);
  return failure.text;
}

// --- Transfers ---------------------------------------------------------------------

class Hdf5DatasetTest : public testing::Test {
 protected:
  Hdf5DatasetTest() {
    H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
    const hdf5::PropertyList access(H5Pcreate(H5P_FILE_ACCESS));
    H5Pset_fapl_core(access.get(), 1 << 16, 0);
    file_ = hdf5::Handle<H5Fclose>(
        H5Fcreate("hdf5_dataset_test.h5", H5F_ACC_TRUNC, H5P_DEFAULT, access.get()));
    EXPECT_TRUE(file_.valid());
  }

  /// Whatever HDF5Dataset opened for itself is closed again.
  void TearDown() override {
    file_.close();
    EXPECT_EQ(openObjects(), openBefore_);
  }

  hdf5::Handle<H5Dclose> create(hid_t fileType, const Space& space) {
    const std::string name = "data" + std::to_string(created_++);
    hdf5::Handle<H5Dclose> dataset(H5Dcreate2(file_.get(), name.c_str(), fileType, space.get(),
                                              H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    EXPECT_TRUE(dataset.valid());
    return dataset;
  }

  static void write(hid_t dataset, hid_t memory, const Space& space, const Value& data) {
    HDF5Dataset transfer(memory, space.get());
    const void* buffer = transfer.write(data.get());
    ASSERT_GE(H5Dwrite(dataset, memory, space.get(), H5S_ALL, H5P_DEFAULT, buffer), 0);
  }

  static Value read(hid_t dataset, hid_t memory, const Space& space) {
    HDF5Dataset transfer(memory, space.get());
    void* buffer = transfer.getBuffer();
    EXPECT_NE(buffer, nullptr);
    EXPECT_GE(H5Dread(dataset, memory, space.get(), H5S_ALL, H5P_DEFAULT, buffer), 0);
    return zembra::CallScope::take(transfer.read(buffer));
  }

  /// Writes and reads with the datatypes that the host chooses.
  Value roundTrip(const Type& fileType, const Space& space, const Value& data) {
    const auto dataset = create(fileType.get(), space);
    write(dataset.get(), memoryType(fileType.get(), data).get(), space, data);
    return read(dataset.get(), memoryType(fileType.get()).get(), space);
  }

  /// The same with one memory datatype for both ways.
  Value roundTrip(const Type& fileType, const Type& memory, const Space& space, const Value& data) {
    const auto dataset = create(fileType.get(), space);
    write(dataset.get(), memory.get(), space, data);
    return read(dataset.get(), memory.get(), space);
  }

  /// The buffer that writing makes of an array.
  template <class T>
  static std::vector<T> laidOut(const Type& memory, const Space& space, const Value& data,
                                std::size_t count) {
    HDF5Dataset transfer(memory.get(), space.get());
    std::vector<T> result(count);
    std::memcpy(result.data(), transfer.write(data.get()), count * sizeof(T));
    return result;
  }

  static Value gathered(const Type& memory, const Space& space, const void* buffer) {
    HDF5Dataset transfer(memory.get(), space.get());
    return zembra::CallScope::take(transfer.read(buffer));
  }

  template <class Make>
  static std::string writeRefusal(const char* key, const Type& memory, const Space& space,
                                  Make make) {
    const Value data = make;
    return refusal(key, [&] {
      HDF5Dataset transfer(memory.get(), space.get());
      transfer.write(data.get());
    });
  }

  static ssize_t openObjects() {
    return H5Fget_obj_count(static_cast<hid_t>(H5F_OBJ_ALL), H5F_OBJ_ALL);
  }

  const ssize_t openBefore_ = openObjects();
  zembra::CallScope scope_;
  hdf5::Handle<H5Fclose> file_;
  int created_ = 0;
};

// --- Numbers ------------------------------------------------------------------------

template <class T>
class Hdf5DatasetNumbers : public Hdf5DatasetTest {};
using NumberClasses =
    testing::Types<double, float, std::int8_t, std::uint8_t, std::int16_t, std::uint16_t,
                   std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(Hdf5DatasetNumbers, NumberClasses);

template <class T>
hid_t littleEndian() {
  if constexpr (std::is_floating_point_v<T>) {
    return sizeof(T) == 4 ? H5T_IEEE_F32LE : H5T_IEEE_F64LE;
  } else {
    const hid_t types[2][4] = {{H5T_STD_U8LE, H5T_STD_U16LE, H5T_STD_U32LE, H5T_STD_U64LE},
                               {H5T_STD_I8LE, H5T_STD_I16LE, H5T_STD_I32LE, H5T_STD_I64LE}};
    return types[std::is_signed_v<T>][sizeof(T) == 8 ? 3 : sizeof(T) / 2];
  }
}

TYPED_TEST(Hdf5DatasetNumbers, KeepTheirClassValuesAndReversedShape) {
  const std::vector<TypeParam> values = {
      0, 1, std::numeric_limits<TypeParam>::max(), std::numeric_limits<TypeParam>::lowest(), 42, 7};
  const Value data = numbers<TypeParam>({3, 2}, values);
  const Value back = this->roundTrip(copy(littleEndian<TypeParam>()), simple({2, 3}), data);
  EXPECT_EQ(valuesOf<TypeParam>(back.get()), values);
  EXPECT_EQ(shapeOf(back.get()), (Shape{3, 2}));
  EXPECT_EQ(back.get()->naturalRank, 2);
}

TYPED_TEST(Hdf5DatasetNumbers, AreConvertedFromAndToTheOtherByteOrder) {
  Type foreign = copy(littleEndian<TypeParam>());
  H5Tset_order(foreign.get(), H5T_ORDER_BE);
  const std::vector<TypeParam> values = {1, 2, 100};
  const Value data = column(values);

  std::vector<TypeParam> swapped = values;
  H5Tconvert(littleEndian<TypeParam>(), foreign.get(), 3, swapped.data(), nullptr, H5P_DEFAULT);
  EXPECT_EQ(this->template laidOut<TypeParam>(foreign, simple({3}), data, 3), swapped);
  EXPECT_EQ(valuesOf<TypeParam>(this->gathered(foreign, simple({3}), swapped.data()).get()),
            values);
  const Value back = this->roundTrip(foreign, foreign, simple({3}), data);
  EXPECT_EQ(valuesOf<TypeParam>(back.get()), values);
}

TEST_F(Hdf5DatasetTest, ShapesFollowTheExtent) {
  const Value one = roundTrip(copy(H5T_NATIVE_INT), scalar(), column<std::int32_t>({5}));
  EXPECT_EQ(shapeOf(one.get()), (Shape{1, 1}));
  EXPECT_EQ(one.get()->naturalRank, 0);

  const Value five =
      roundTrip(copy(H5T_NATIVE_INT), simple({5}), column<std::int32_t>({1, 2, 3, 4, 5}));
  EXPECT_EQ(shapeOf(five.get()), (Shape{5, 1}));
  EXPECT_EQ(five.get()->naturalRank, 1);

  const Value deep = roundTrip(copy(H5T_NATIVE_INT), simple({2, 1, 3, 1}),
                               numbers<std::int32_t>({1, 3, 1, 2}, {1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(shapeOf(deep.get()), (Shape{1, 3, 1, 2}));
  EXPECT_EQ(deep.get()->naturalRank, 4);
}

TEST_F(Hdf5DatasetTest, NumericReadsBecomeTheArrayWithoutACopy) {
  const Space space = simple({1000});
  HDF5Dataset transfer(H5T_NATIVE_DOUBLE, space.get());
  auto* buffer = static_cast<double*>(transfer.getBuffer());
  EXPECT_EQ(transfer.getBuffer(), buffer);
  std::iota(buffer, buffer + 1000, 0.0);
  const Value array = zembra::CallScope::take(transfer.read(buffer));
  EXPECT_EQ(array.get()->data, buffer);
}

TEST_F(Hdf5DatasetTest, NumericWritesPointAtTheArray) {
  const Space space = simple({4});
  const Value data = column<float>({1, 2, 3, 4});
  HDF5Dataset transfer(H5T_NATIVE_FLOAT, space.get());
  EXPECT_EQ(transfer.write(data.get()), data.get()->data);
}

TEST_F(Hdf5DatasetTest, ReadingAnotherBufferCopiesIt) {
  std::vector<std::int32_t> buffer = {1, 2, 3};
  const Value array = gathered(copy(H5T_NATIVE_INT32), simple({3}), buffer.data());
  buffer.assign(3, 0);
  EXPECT_THAT(valuesOf<std::int32_t>(array.get()), ElementsAre(1, 2, 3));
}

TEST_F(Hdf5DatasetTest, OddSizesWidenToTheNextClass) {
  const Value three = roundTrip(sized(H5T_STD_I32BE, 3), sized(H5T_STD_I32BE, 3), simple({3}),
                                column<std::int32_t>({-1, 2, 8388607}));
  EXPECT_THAT(valuesOf<std::int32_t>(three.get()), ElementsAre(-1, 2, 8388607));
  const Value five = roundTrip(sized(H5T_STD_U64LE, 5), sized(H5T_STD_U64LE, 5), simple({2}),
                               column<std::uint64_t>({1, 1099511627775}));
  EXPECT_THAT(valuesOf<std::uint64_t>(five.get()), ElementsAre(1, 1099511627775));
}

TEST_F(Hdf5DatasetTest, LongDoublesBecomeDoubles) {
  const Value data = column<double>({0.5, -3.25});
  const Value back =
      roundTrip(copy(H5T_NATIVE_LDOUBLE), copy(H5T_NATIVE_LDOUBLE), simple({2}), data);
  EXPECT_THAT(valuesOf<double>(back.get()), ElementsAre(0.5, -3.25));
}

TEST_F(Hdf5DatasetTest, HalfFloatsBecomeSingles) {
  Type half = copy(H5T_IEEE_F32LE);
  H5Tset_fields(half.get(), 15, 10, 5, 0, 10);
  H5Tset_precision(half.get(), 16);
  H5Tset_size(half.get(), 2);
  H5Tset_ebias(half.get(), 15);
  const Value back = roundTrip(half, half, simple({2}), column<float>({1.5F, -2.0F}));
  EXPECT_THAT(valuesOf<float>(back.get()), ElementsAre(1.5F, -2.0F));
  EXPECT_EQ(laidOut<std::uint16_t>(half, scalar(), column<float>({1.5F}), 1)[0], 0x3e00);
}

TEST_F(Hdf5DatasetTest, AnyNumericOrLogicalClassGoesIntoANumber) {
  const Value back =
      roundTrip(copy(H5T_STD_I16BE), simple({3}), column<double>({1.0, -2.0, 300.0}));
  EXPECT_THAT(valuesOf<std::int16_t>(back.get()), ElementsAre(1, -2, 300));
  const Value flags = roundTrip(copy(H5T_IEEE_F64LE), simple({2}), logical({1, 0}));
  EXPECT_THAT(valuesOf<double>(flags.get()), ElementsAre(1.0, 0.0));
}

// --- Enumerations and bit fields -----------------------------------------------------

TEST_F(Hdf5DatasetTest, EnumerationsAreTheirBaseInteger) {
  for (const hid_t base : {H5T_STD_I8LE, H5T_NATIVE_INT8}) {
    const Value back = roundTrip(colours(base), simple({4}), column<std::int8_t>({0, 2, 1, 1}));
    EXPECT_THAT(valuesOf<std::int8_t>(back.get()), ElementsAre(0, 2, 1, 1));
  }
  const Value back = roundTrip(colours(H5T_STD_I32BE), simple({3}), column<double>({2, 0, 1}));
  EXPECT_THAT(valuesOf<std::int32_t>(back.get()), ElementsAre(2, 0, 1));
}

TEST_F(Hdf5DatasetTest, EnumerationsInAnotherByteOrderAreConverted) {
  const Type memory = colours(H5T_STD_U16BE);
  EXPECT_THAT(laidOut<std::uint16_t>(memory, simple({2}), logical({1, 0}), 2),
              ElementsAre(0x0100, 0));
  const Value back = roundTrip(memory, memory, simple({2}), column<std::uint16_t>({2, 1}));
  EXPECT_THAT(valuesOf<std::uint16_t>(back.get()), ElementsAre(2, 1));
}

TEST_F(Hdf5DatasetTest, BitFieldsAreUnsigned) {
  const Value eight = roundTrip(copy(H5T_STD_B8LE), simple({2}), column<std::uint8_t>({1, 255}));
  EXPECT_THAT(valuesOf<std::uint8_t>(eight.get()), ElementsAre(1, 255));
  const Value sixteen = roundTrip(copy(H5T_STD_B16BE), simple({2}), column<double>({0x1234, 1}));
  EXPECT_THAT(valuesOf<std::uint16_t>(sixteen.get()), ElementsAre(0x1234, 1));
  const Value wide = roundTrip(copy(H5T_STD_B64BE), copy(H5T_STD_B64BE), scalar(),
                               column<std::uint64_t>({0x0102030405060708}));
  EXPECT_THAT(valuesOf<std::uint64_t>(wide.get()), ElementsAre(0x0102030405060708));
  EXPECT_TRUE(equal(memoryType(H5T_STD_B32BE), H5T_NATIVE_B32));
}

TEST_F(Hdf5DatasetTest, CodesThatWouldChangeAreRefused) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double value : {0.5, nan, infinity, -1.0, 256.0}) {
    writeRefusal("valueOutOfRange", copy(H5T_NATIVE_B8), scalar(), column<double>({value}));
  }
  writeRefusal("valueOutOfRange", colours(H5T_NATIVE_INT8), scalar(), column<std::int16_t>({128}));
  writeRefusal("valueOutOfRange", colours(H5T_NATIVE_INT64), scalar(),
               column<double>({9223372036854775808.0}));
  EXPECT_THAT(laidOut<std::int64_t>(colours(H5T_NATIVE_INT64), scalar(),
                                    column<double>({-9223372036854775808.0}), 1),
              ElementsAre(std::numeric_limits<std::int64_t>::min()));
  writeRefusal("valueOutOfRange", copy(H5T_NATIVE_B64), scalar(), column<std::int64_t>({-1}));
  EXPECT_THAT(
      writeRefusal("valueOutOfRange", copy(H5T_NATIVE_B8), simple({2}), column<float>({1, 2.5F})),
      HasSubstr("2.5"));
}

// --- Texts -----------------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, FixedTextsPutTheirBytesFirst) {
  const Value back = roundTrip(fixedText(4), simple({2}), chars({4, 2}, "abcdwxyz"));
  EXPECT_EQ(textOf(back.get()), "abcdwxyz");
  EXPECT_EQ(shapeOf(back.get()), (Shape{4, 2}));
  EXPECT_EQ(back.get()->naturalRank, 2);

  const Value one = roundTrip(fixedText(6), scalar(), makeText("wind"));
  EXPECT_EQ(textOf(one.get()), std::string_view("wind\0\0", 6));
  EXPECT_EQ(shapeOf(one.get()), (Shape{6, 1}));
  EXPECT_EQ(one.get()->naturalRank, 1);
}

TEST_F(Hdf5DatasetTest, FixedTextsArePaddedAsTheirTypeSays) {
  const Value spaces =
      roundTrip(fixedText(3, H5T_STR_SPACEPAD), simple({3}), texts({"a", "bcd", ""}));
  EXPECT_EQ(textOf(spaces.get()), "a  bcd   ");
  const Value nulls = roundTrip(fixedText(3, H5T_STR_NULLPAD), simple({2}), texts({"a", "bc"}));
  EXPECT_EQ(textOf(nulls.get()), std::string_view("a\0\0bc\0", 6));
  const Value matrix = roundTrip(fixedText(4, H5T_STR_SPACEPAD), simple({2}),
                                 chars({2, 2}, std::string_view("a\0bc", 4)));
  EXPECT_EQ(textOf(matrix.get()), "a   bc  ");
}

TEST_F(Hdf5DatasetTest, FixedTextsTakeCellsOfAnyShape) {
  const Value data = makeCell({1, 2}, {makeText("one"), chars({3, 1}, "two")});
  const Value back = roundTrip(fixedText(3), simple({2}), data);
  EXPECT_EQ(textOf(back.get()), "onetwo");
}

TEST_F(Hdf5DatasetTest, TrailingNullsDoNotCountAsText) {
  const Value back = roundTrip(fixedText(2), scalar(), makeText(std::string_view("ab\0\0", 4)));
  EXPECT_EQ(textOf(back.get()), "ab");
  const Value rows =
      roundTrip(fixedText(2), simple({2}), chars({3, 2}, std::string_view("ab\0c\0\0", 6)));
  EXPECT_EQ(textOf(rows.get()), std::string_view("abc\0", 4));
}

TEST_F(Hdf5DatasetTest, FixedTextsThatDoNotFitAreRefused) {
  EXPECT_THAT(writeRefusal("textTooLong", fixedText(4), scalar(), makeText("hello")),
              HasSubstr("5 bytes"));
  EXPECT_THAT(writeRefusal("textTooLong", fixedText(4), simple({2}), texts({"a", "hello"})),
              HasSubstr("Item 1"));
  writeRefusal("textTooLong", fixedText(2), simple({2}), chars({3, 2}, "abcdef"));
  writeRefusal("sizeMismatch", fixedText(4), simple({3}), chars({4, 2}, "abcdefgh"));
  writeRefusal("sizeMismatch", fixedText(4), simple({3}), texts({"a", "b"}));
  writeRefusal("sizeMismatch", fixedText(4), scalar(), chars({2, 2}, "abcd"));
  writeRefusal("classMismatch", fixedText(4), scalar(), column<double>({1}));
  EXPECT_THAT(writeRefusal("classMismatch", fixedText(4), simple({2}),
                           cell(makeText("a"), column<double>({1}))),
              HasSubstr("Item 1"));
  EXPECT_THAT(writeRefusal("missingItem", fixedText(4), simple({2}), cell(makeText("a"), Value())),
              HasSubstr("Item 1"));
}

TEST_F(Hdf5DatasetTest, VariableTextsAreCellsOfRows) {
  const Value back =
      roundTrip(variableText(), simple({2, 2}),
                makeCell({2, 2}, {makeText("north"), makeText(""), makeText("s"), makeText("w")}));
  EXPECT_THAT(textsOf(back.get()), ElementsAre("north", "", "s", "w"));
  EXPECT_EQ(shapeOf(back.get()), (Shape{2, 2}));
  EXPECT_EQ(back.get()->naturalRank, 2);
  EXPECT_EQ(shapeOf(item(back, 0)), (Shape{1, 5}));
  EXPECT_EQ(shapeOf(item(back, 1)), (Shape{0, 0}));
}

TEST_F(Hdf5DatasetTest, VariableTextsTakeARowOrAMatrix) {
  const Value row = roundTrip(variableText(), scalar(), makeText("gust"));
  EXPECT_THAT(textsOf(row.get()), ElementsAre("gust"));
  EXPECT_EQ(row.get()->naturalRank, 0);
  const Value matrix =
      roundTrip(variableText(), simple({3}), chars({3, 3}, std::string_view("abcd\0\0\0\0\0", 9)));
  EXPECT_THAT(textsOf(matrix.get()), ElementsAre("abc", "d", ""));
  const Value long1 = roundTrip(variableText(), scalar(), makeText(std::string(200000, 'x')));
  EXPECT_THAT(textsOf(long1.get()), ElementsAre(std::string(200000, 'x')));
}

TEST_F(Hdf5DatasetTest, NullPointersAreEmptyTexts) {
  const char* buffer[] = {nullptr, "a"};
  const Value array = gathered(variableText(), simple({2}), buffer);
  EXPECT_THAT(textsOf(array.get()), ElementsAre("", "a"));
}

TEST_F(Hdf5DatasetTest, VariableTextsThatDoNotFitAreRefused) {
  EXPECT_THAT(writeRefusal("embeddedNull", variableText(), simple({2}),
                           texts({"a", std::string_view("b\0c", 3)})),
              HasSubstr("Item 1"));
  writeRefusal("embeddedNull", variableText(), scalar(), makeText(std::string_view("\0c", 2)));
  writeRefusal("sizeMismatch", variableText(), simple({2}), texts({"a"}));
  writeRefusal("classMismatch", variableText(), scalar(), column<double>({1}));
  writeRefusal("classMismatch", variableText(), scalar(), cell(logical({1})));
  writeRefusal("missingItem", variableText(), scalar(), cell(Value()));
}

// --- Opaque data and references ---------------------------------------------------------

TEST_F(Hdf5DatasetTest, OpaqueDataAreBytes) {
  Type type(H5Tcreate(H5T_OPAQUE, 3));
  H5Tset_tag(type.get(), "pixel");
  const Value back =
      roundTrip(type, simple({2}), numbers<std::uint8_t>({3, 2}, {1, 2, 3, 4, 5, 6}));
  EXPECT_THAT(valuesOf<std::uint8_t>(back.get()), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_EQ(shapeOf(back.get()), (Shape{3, 2}));
  EXPECT_EQ(back.get()->naturalRank, 2);
  EXPECT_TRUE(equal(memoryType(type.get()), type.get()));
  EXPECT_THAT(writeRefusal("sizeMismatch", type, simple({2}), column<std::uint8_t>({1, 2, 3})),
              HasSubstr("3 bytes where 6"));
  writeRefusal("classMismatch", type, simple({1}), column<std::int8_t>({1, 2, 3}));
}

TEST_F(Hdf5DatasetTest, ReferencesAreBytes) {
  const auto target = create(H5T_NATIVE_INT, simple({4}));
  std::vector<std::uint8_t> bytes(8);
  ASSERT_GE(H5Rcreate(bytes.data(), file_.get(), "data0", H5R_OBJECT, -1), 0);
  const Value object = roundTrip(copy(H5T_STD_REF_OBJ), scalar(), column(bytes));
  EXPECT_EQ(valuesOf<std::uint8_t>(object.get()), bytes);
  EXPECT_EQ(shapeOf(object.get()), (Shape{8, 1}));

  std::vector<std::uint8_t> region(12);
  const Space space = simple({4});
  ASSERT_GE(H5Rcreate(region.data(), file_.get(), "data0", H5R_DATASET_REGION, space.get()), 0);
  const Value back = roundTrip(copy(H5T_STD_REF_DSETREG), simple({1}), column(region));
  EXPECT_EQ(valuesOf<std::uint8_t>(back.get()), region);
  EXPECT_EQ(shapeOf(back.get()), (Shape{12, 1}));
  EXPECT_EQ(back.get()->naturalRank, 2);
}

// --- Compounds ----------------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, CompoundsAreStructuresOfColumns) {
  const Type type = compoundOf({{"id", H5T_STD_I16BE}, {"speed", H5T_IEEE_F64LE}});
  const Value data = makeStruct({{"speed", numbers<double>({2, 2}, {0.5, 1.5, 2.5, 3.5})},
                                 {"id", numbers<std::int16_t>({2, 2}, {1, 2, 3, 4})}});
  const Value back = roundTrip(type, simple({2, 2}), data);
  EXPECT_EQ(back.get()->type, zbClass::Struct);
  EXPECT_EQ(shapeOf(back.get()), (Shape{1, 1}));
  EXPECT_THAT(back.get()->composite->names, ElementsAre("id", "speed"));
  EXPECT_THAT(valuesOf<std::int16_t>(field(back.get(), "id")), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(valuesOf<double>(field(back.get(), "speed")), ElementsAre(0.5, 1.5, 2.5, 3.5));
  EXPECT_EQ(shapeOf(field(back.get(), "speed")), (Shape{2, 2}));
  EXPECT_EQ(field(back.get(), "speed")->naturalRank, 2);
}

TEST_F(Hdf5DatasetTest, PaddedAndForeignCompoundsAreReadAsTheyLie) {
  const Type odd = sized(H5T_STD_U32BE, 3);
  const Type enumeration = colours(H5T_STD_I16BE);
  const Type type = compoundOf({{"odd", odd.get()},
                                {"wide", H5T_NATIVE_LDOUBLE},
                                {"colour", enumeration.get()},
                                {"plain", H5T_NATIVE_INT}},
                               5);
  const Value data = makeStruct({{"odd", column<std::uint32_t>({70000, 2})},
                                 {"wide", column<double>({0.25, -1})},
                                 {"colour", column<double>({2, 0})},
                                 {"plain", column<std::int32_t>({-7, 7})}});
  const Value back = roundTrip(type, type, simple({2}), data);
  EXPECT_THAT(valuesOf<std::uint32_t>(field(back.get(), "odd")), ElementsAre(70000, 2));
  EXPECT_THAT(valuesOf<double>(field(back.get(), "wide")), ElementsAre(0.25, -1));
  EXPECT_THAT(valuesOf<std::int16_t>(field(back.get(), "colour")), ElementsAre(2, 0));
  EXPECT_THAT(valuesOf<std::int32_t>(field(back.get(), "plain")), ElementsAre(-7, 7));
}

TEST_F(Hdf5DatasetTest, GapsInCompoundsAreWrittenAsZeros) {
  const Type type = compoundOf({{"a", H5T_NATIVE_UINT8}, {"b", H5T_NATIVE_UINT8}}, 2);
  const Value data =
      makeStruct({{"a", column<std::uint8_t>({1})}, {"b", column<std::uint8_t>({2})}});
  EXPECT_THAT(laidOut<std::uint8_t>(type, scalar(), data, 6), ElementsAre(0, 0, 1, 0, 0, 2));
}

TEST_F(Hdf5DatasetTest, CompoundsHoldTextsAndSequences) {
  const Type name = variableText(H5T_CSET_UTF8);
  const Type code = fixedText(2);
  const Type readings = sequenceOf(H5T_STD_I32BE);
  const Type type =
      compoundOf({{"name", name.get()}, {"code", code.get()}, {"readings", readings.get()}}, 1);
  const Value data = makeStruct({{"code", chars({2, 2}, "nosu")},
                                 {"readings", cell(column<double>({1, 2}), zembra::makeEmpty())},
                                 {"name", texts({"Nordkapp", "Sünden"})}});
  const Value back = roundTrip(type, simple({2}), data);
  EXPECT_THAT(textsOf(field(back.get(), "name")), ElementsAre("Nordkapp", "Sünden"));
  EXPECT_EQ(textOf(field(back.get(), "code")), "nosu");
  EXPECT_EQ(shapeOf(field(back.get(), "code")), (Shape{2, 2}));
  const zbArray* cells = field(back.get(), "readings");
  EXPECT_THAT(valuesOf<std::int32_t>(zbGetCell(cells, 0)), ElementsAre(1, 2));
  EXPECT_EQ(zbGetCell(cells, 1)->elements, 0U);
  EXPECT_EQ(zbGetCell(cells, 1)->type, zbClass::Int32);
}

TEST_F(Hdf5DatasetTest, CompoundsWithinArraysWithinCompoundsAreOneColumnEach) {
  const Type point = compoundOf({{"x", H5T_NATIVE_INT16}, {"y", H5T_NATIVE_DOUBLE}}, 1);
  const Type path = arrayOf(point.get(), {2, 3});
  const Type track = compoundOf({{"path", path.get()}, {"id", H5T_NATIVE_UINT8}}, 3);
  const Type tracks = arrayOf(track.get(), {2});
  const Type type = compoundOf({{"tracks", tracks.get()}});

  std::vector<std::int16_t> x(2 * 3 * 2 * 2);
  std::iota(x.begin(), x.end(), std::int16_t{0});
  std::vector<double> y(x.begin(), x.end());
  const Value data = makeStruct(
      {{"tracks", makeStruct({{"id", numbers<std::uint8_t>({2, 2}, {1, 2, 3, 4})},
                              {"path", makeStruct({{"x", numbers<std::int16_t>({3, 2, 2, 2}, x)},
                                                   {"y", numbers<double>({3, 2, 2, 2}, y)}})}})}});

  // Elements lie in C order: the fourth point of the second track of the first one.
  const auto bytes = laidOut<std::uint8_t>(type, simple({2}), data, 2 * H5Tget_size(type.get()));
  std::int16_t fourth = 0;
  std::memcpy(&fourth, &bytes[H5Tget_size(track.get()) + 3 + 3 * 12 + 1], sizeof fourth);
  EXPECT_EQ(fourth, 9);

  const Value back = roundTrip(type, type, simple({2}), data);
  const zbArray* inner = field(back.get(), "tracks");
  EXPECT_THAT(valuesOf<std::uint8_t>(field(inner, "id")), ElementsAre(1, 2, 3, 4));
  EXPECT_EQ(shapeOf(field(inner, "id")), (Shape{2, 2}));
  const zbArray* points = field(inner, "path");
  EXPECT_EQ(valuesOf<std::int16_t>(field(points, "x")), x);
  EXPECT_EQ(valuesOf<double>(field(points, "y")), y);
  EXPECT_EQ(shapeOf(field(points, "x")), (Shape{3, 2, 2, 2}));
  EXPECT_EQ(field(points, "x")->naturalRank, 4);
}

TEST_F(Hdf5DatasetTest, CompoundsThatDoNotFitAreRefused) {
  const Type type = compoundOf({{"a", H5T_NATIVE_INT}, {"b", H5T_NATIVE_INT}});
  const Value one = column<std::int32_t>({1});
  EXPECT_THAT(writeRefusal("missingMember", type, scalar(), makeStruct({{"a", one}})),
              HasSubstr("'b'"));
  EXPECT_THAT(writeRefusal("unknownMember", type, scalar(),
                           makeStruct({{"a", one}, {"b", one}, {"c", one}})),
              HasSubstr("'c'"));
  EXPECT_THAT(writeRefusal("classMismatch", type, scalar(),
                           makeStruct({{"a", one}, {"b", column<double>({1})}})),
              HasSubstr("Field 'b'"));
  EXPECT_THAT(writeRefusal("sizeMismatch", type, simple({2}),
                           makeStruct({{"a", column<std::int32_t>({1, 2})}, {"b", one}})),
              HasSubstr("Field 'b'"));
  writeRefusal("classMismatch", type, scalar(), one);
  const char* names[] = {"a", "b"};
  const Value two = zembra::CallScope::take(zbCreateStructArray(2, 2, names));
  writeRefusal("classMismatch", type, simple({2}), two);
  const auto missing = [&] { memoryType(type.get(), makeStruct({{"a", one}})); };
  refusal("missingMember", missing);
  const auto unknown = [&] {
    memoryType(type.get(), makeStruct({{"a", one}, {"b", one}, {"c", one}}));
  };
  refusal("unknownMember", unknown);
}

// --- Sequences ----------------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, SequencesAreCellsOfColumns) {
  const Value back = roundTrip(
      sequenceOf(H5T_STD_I32BE), simple({3}),
      cell(column<std::int32_t>({1, 2, 3}), makeText(""), numbers<std::int32_t>({1, 2}, {4, 5})));
  EXPECT_EQ(shapeOf(back.get()), (Shape{3, 1}));
  EXPECT_EQ(back.get()->naturalRank, 1);
  EXPECT_THAT(valuesOf<std::int32_t>(item(back, 0)), ElementsAre(1, 2, 3));
  EXPECT_EQ(shapeOf(item(back, 0)), (Shape{3, 1}));
  EXPECT_EQ(item(back, 0)->naturalRank, 1);
  EXPECT_EQ(item(back, 1)->elements, 0U);
  EXPECT_THAT(valuesOf<std::int32_t>(item(back, 2)), ElementsAre(4, 5));
}

TEST_F(Hdf5DatasetTest, SequenceItemsAreNotCopied) {
  const Type memory = sequenceOf(H5T_NATIVE_DOUBLE);
  const Value first = column<double>({1, 2});
  const auto sequences = laidOut<hvl_t>(memory, simple({2}), cell(first, zembra::makeEmpty()), 2);
  EXPECT_EQ(sequences[0].p, first.get()->data);
  EXPECT_EQ(sequences[0].len, 2U);
  EXPECT_EQ(sequences[1].p, nullptr);
  EXPECT_EQ(sequences[1].len, 0U);
}

TEST_F(Hdf5DatasetTest, SequencesOfForeignNumbersAreConverted) {
  const Type memory = sequenceOf(H5T_STD_U16BE);
  const Value back = roundTrip(memory, memory, simple({1}), cell(column<std::uint16_t>({1, 2, 3})));
  EXPECT_THAT(valuesOf<std::uint16_t>(item(back, 0)), ElementsAre(1, 2, 3));
}

TEST_F(Hdf5DatasetTest, SequencesOfCompoundsAreStructuresOfColumns) {
  const Type name = variableText();
  const Type point = compoundOf({{"x", H5T_STD_I32BE}, {"name", name.get()}});
  const Value data = cell(makeStruct({{"x", column<double>({1, 2})}, {"name", texts({"a", "b"})}}),
                          makeStruct({{"x", zembra::makeEmpty()}, {"name", zembra::makeEmpty()}}));
  const Value back = roundTrip(sequenceOf(point.get()), simple({2}), data);
  EXPECT_THAT(valuesOf<std::int32_t>(field(item(back, 0), "x")), ElementsAre(1, 2));
  EXPECT_EQ(shapeOf(field(item(back, 0), "x")), (Shape{2, 1}));
  EXPECT_THAT(textsOf(field(item(back, 0), "name")), ElementsAre("a", "b"));
  EXPECT_EQ(field(item(back, 1), "x")->elements, 0U);
}

TEST_F(Hdf5DatasetTest, SequencesOfSequencesAreCellsOfCells) {
  const Type inner = sequenceOf(H5T_NATIVE_FLOAT);
  const Value data = cell(cell(column<double>({1}), column<double>({2, 3})), cell());
  const Value back = roundTrip(sequenceOf(inner.get()), simple({2}), data);
  EXPECT_EQ(item(back, 0)->type, zbClass::Cell);
  EXPECT_THAT(valuesOf<float>(zbGetCell(item(back, 0), 0)), ElementsAre(1));
  EXPECT_THAT(valuesOf<float>(zbGetCell(item(back, 0), 1)), ElementsAre(2, 3));
  EXPECT_EQ(item(back, 1)->elements, 0U);
}

TEST_F(Hdf5DatasetTest, SequencesOfTextsBytesAndArrays) {
  const Value fixed =
      roundTrip(sequenceOf(fixedText(2).get()), simple({4}),
                cell(texts({"ab", "c"}), makeText("xy"), chars({2, 2}, "efgh"), makeText("")));
  EXPECT_EQ(textOf(item(fixed, 0)), std::string_view("abc\0", 4));
  EXPECT_EQ(textOf(item(fixed, 1)), "xy");
  EXPECT_EQ(shapeOf(item(fixed, 2)), (Shape{2, 2}));
  EXPECT_EQ(item(fixed, 3)->elements, 0U);

  const Value single =
      roundTrip(sequenceOf(fixedText(1).get()), simple({1}), cell(makeText("abc")));
  EXPECT_EQ(shapeOf(item(single, 0)), (Shape{1, 3}));

  const Value variable = roundTrip(sequenceOf(variableText().get()), simple({2}),
                                   cell(texts({"one", "two"}), makeText("three")));
  EXPECT_THAT(textsOf(item(variable, 0)), ElementsAre("one", "two"));
  EXPECT_THAT(textsOf(item(variable, 1)), ElementsAre("three"));

  const Type bytes(H5Tcreate(H5T_OPAQUE, 2));
  const Value opaque = roundTrip(sequenceOf(bytes.get()), simple({1}),
                                 cell(numbers<std::uint8_t>({2, 3}, {1, 2, 3, 4, 5, 6})));
  EXPECT_EQ(shapeOf(item(opaque, 0)), (Shape{2, 3}));

  const Type pair = arrayOf(H5T_STD_I16BE, {2});
  const Value arrays = roundTrip(sequenceOf(pair.get()), simple({1}),
                                 cell(numbers<std::int16_t>({2, 3}, {1, 2, 3, 4, 5, 6})));
  EXPECT_EQ(shapeOf(item(arrays, 0)), (Shape{2, 3}));
  EXPECT_EQ(item(arrays, 0)->naturalRank, 2);
  EXPECT_THAT(valuesOf<std::int16_t>(item(arrays, 0)), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(Hdf5DatasetTest, SequencesThatDoNotFitAreRefused) {
  const Type type = sequenceOf(H5T_NATIVE_INT);
  const Value one = column<std::int32_t>({1});
  writeRefusal("classMismatch", type, scalar(), one);
  writeRefusal("sizeMismatch", type, simple({2}), cell(one));
  EXPECT_THAT(writeRefusal("missingItem", type, simple({2}), cell(one, Value())),
              HasSubstr("Item 1 "));
  EXPECT_THAT(writeRefusal("classMismatch", type, simple({2}), cell(one, column<double>({1}))),
              HasSubstr("Item 1 (counted from 0) of the array is double 1-by-1"));
  writeRefusal("classMismatch", sequenceOf(type.get()), scalar(), cell(one));

  // Nothing is dropped: neither a part of an element nor what an empty field hides.
  const Type bytes(H5Tcreate(H5T_OPAQUE, 4));
  writeRefusal("sizeMismatch", sequenceOf(bytes.get()), scalar(),
               cell(column<std::uint8_t>({1, 2, 3})));
  const Type pair = arrayOf(H5T_NATIVE_INT, {2});
  writeRefusal("sizeMismatch", sequenceOf(pair.get()), scalar(), cell(one));
  const Type point = compoundOf({{"x", H5T_NATIVE_INT}, {"y", H5T_NATIVE_INT}});
  writeRefusal("sizeMismatch", sequenceOf(point.get()), scalar(),
               cell(makeStruct({{"x", zembra::makeEmpty()}, {"y", one}})));
  writeRefusal("missingMember", sequenceOf(point.get()), scalar(), cell(makeStruct({{"y", one}})));
  const auto text = [&] { memoryType(type.get(), cell(makeText("one"))); };
  EXPECT_THAT(refusal("classMismatch", text), HasSubstr("Item 0"));
}

// --- Arrays -----------------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, ArraysPutTheirDimensionsFirst) {
  const Type type = arrayOf(H5T_STD_I32LE, {2, 3});
  std::vector<std::int32_t> values(24);
  std::iota(values.begin(), values.end(), 0);
  const Value data = numbers<std::int32_t>({3, 2, 4}, values);
  const Value back = roundTrip(type, simple({4}), data);
  EXPECT_EQ(valuesOf<std::int32_t>(back.get()), values);
  EXPECT_EQ(shapeOf(back.get()), (Shape{3, 2, 4}));
  EXPECT_EQ(back.get()->naturalRank, 3);

  const Type native = arrayOf(H5T_NATIVE_INT32, {2, 3});
  const Space space = simple({4});
  HDF5Dataset transfer(native.get(), space.get());
  EXPECT_EQ(transfer.write(data.get()), data.get()->data);
  writeRefusal("sizeMismatch", native, simple({3}), data);
}

TEST_F(Hdf5DatasetTest, ArraysOfForeignNumbersAreConverted) {
  const Type odd = sized(H5T_STD_I32BE, 3);
  const Type type = arrayOf(odd.get(), {3});
  const Value back =
      roundTrip(type, type, simple({2}), numbers<std::int32_t>({3, 2}, {1, -2, 3, -4, 5, -6}));
  EXPECT_THAT(valuesOf<std::int32_t>(back.get()), ElementsAre(1, -2, 3, -4, 5, -6));
  EXPECT_EQ(shapeOf(back.get()), (Shape{3, 2}));
}

TEST_F(Hdf5DatasetTest, ArraysOfTexts) {
  const Value fixed = roundTrip(arrayOf(fixedText(2).get(), {3}), simple({2}),
                                texts({"a", "bb", "c", "dd", "e", "ff"}));
  EXPECT_EQ(shapeOf(fixed.get()), (Shape{2, 3, 2}));
  EXPECT_EQ(fixed.get()->naturalRank, 3);
  EXPECT_EQ(textOf(fixed.get()), std::string_view("a\0bbc\0dde\0ff", 12));

  const Value variable =
      roundTrip(arrayOf(variableText().get(), {2}), simple({2}), texts({"a", "bb", "", "dd"}));
  EXPECT_EQ(shapeOf(variable.get()), (Shape{2, 2}));
  EXPECT_EQ(variable.get()->naturalRank, 2);
  EXPECT_THAT(textsOf(variable.get()), ElementsAre("a", "bb", "", "dd"));
}

TEST_F(Hdf5DatasetTest, ArraysOfSequences) {
  const Value back = roundTrip(arrayOf(sequenceOf(H5T_NATIVE_INT8).get(), {2}), scalar(),
                               cell(column<double>({1, 2}), column<double>({3})));
  EXPECT_EQ(shapeOf(back.get()), (Shape{2, 1}));
  EXPECT_THAT(valuesOf<std::int8_t>(item(back, 0)), ElementsAre(1, 2));
}

// --- Spaces -------------------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, WhatASelectionLeavesOutIsZero) {
  const auto dataset = create(H5T_NATIVE_INT, simple({4}));
  write(dataset.get(), H5T_NATIVE_INT, simple({4}), column<std::int32_t>({1, 2, 3, 4}));
  const Space memory = simple({4});
  const hsize_t start = 1;
  const hsize_t count = 2;
  H5Sselect_hyperslab(memory.get(), H5S_SELECT_SET, &start, nullptr, &count, nullptr);
  HDF5Dataset transfer(H5T_NATIVE_INT, memory.get());
  void* buffer = transfer.getBuffer();
  ASSERT_GE(H5Dread(dataset.get(), H5T_NATIVE_INT, memory.get(), memory.get(), H5P_DEFAULT, buffer),
            0);
  const Value array = zembra::CallScope::take(transfer.read(buffer));
  EXPECT_THAT(valuesOf<std::int32_t>(array.get()), ElementsAre(0, 2, 3, 0));
}

TEST_F(Hdf5DatasetTest, RepeatedPointsLeaveZerosToo) {
  const auto dataset = create(H5T_NATIVE_INT, simple({3}));
  write(dataset.get(), H5T_NATIVE_INT, simple({3}), column<std::int32_t>({1, 2, 3}));
  const Space memory = simple({3});
  const Dims points = {1, 1, 1};
  H5Sselect_elements(memory.get(), H5S_SELECT_SET, 3, points.data());
  HDF5Dataset transfer(H5T_NATIVE_INT, memory.get());
  void* buffer = transfer.getBuffer();
  ASSERT_GE(H5Dread(dataset.get(), H5T_NATIVE_INT, memory.get(), H5S_ALL, H5P_DEFAULT, buffer), 0);
  const Value array = zembra::CallScope::take(transfer.read(buffer));
  const auto values = valuesOf<std::int32_t>(array.get());
  EXPECT_EQ(values[0], 0);
  EXPECT_EQ(values[2], 0);
}

TEST_F(Hdf5DatasetTest, PartlySelectedVariableLengthDataAreEmptyElsewhere) {
  const Type type = variableText();
  const auto dataset = create(type.get(), simple({3}));
  write(dataset.get(), type.get(), simple({3}), texts({"a", "b", "c"}));
  const Space memory = simple({3});
  const hsize_t start = 1;
  const hsize_t count = 1;
  H5Sselect_hyperslab(memory.get(), H5S_SELECT_SET, &start, nullptr, &count, nullptr);
  HDF5Dataset transfer(type.get(), memory.get());
  void* buffer = transfer.getBuffer();
  ASSERT_GE(H5Dread(dataset.get(), type.get(), memory.get(), memory.get(), H5P_DEFAULT, buffer), 0);
  const Value array = zembra::CallScope::take(transfer.read(buffer));
  EXPECT_THAT(textsOf(array.get()), ElementsAre("", "b", ""));
}

TEST_F(Hdf5DatasetTest, WrongCountsNameBothAndTheSelection) {
  const Space memory = simple({4});
  const hsize_t start = 0;
  const hsize_t count = 2;
  H5Sselect_hyperslab(memory.get(), H5S_SELECT_SET, &start, nullptr, &count, nullptr);
  const Value data = column<std::int32_t>({1, 2});
  const auto write = [&] {
    HDF5Dataset transfer(H5T_NATIVE_INT, memory.get());
    transfer.write(data.get());
  };
  const std::string text = refusal("sizeMismatch", write);
  EXPECT_THAT(text, HasSubstr("2 elements where 4 are needed"));
  EXPECT_THAT(text, HasSubstr("Of the memory space's 4 elements 2 are selected"));
  EXPECT_THAT(text, HasSubstr("pass a memory space of that size"));
  EXPECT_THAT(writeRefusal("sizeMismatch", copy(H5T_NATIVE_INT), simple({3}), data),
              testing::Not(HasSubstr("selected")));
}

TEST_F(Hdf5DatasetTest, WrongCountsAreNamedBeforeMemoryIsAskedFor) {
  const Space space = simple({hsize_t{1} << 50});
  for (const Type& type : {fixedText(8), variableText(), sequenceOf(H5T_NATIVE_INT)}) {
    writeRefusal("sizeMismatch", type, space, texts({"a"}));
  }
  writeRefusal("sizeMismatch", compoundOf({{"a", H5T_NATIVE_INT}}), space,
               makeStruct({{"a", column<std::int32_t>({1})}}));
}

TEST_F(Hdf5DatasetTest, SelectionsOfMoreThanTheExtentAreRefused) {
  const Space space = simple({5});
  H5Sset_extent_none(space.get());
  ASSERT_EQ(H5Sget_select_npoints(space.get()), 5);
  refusal("staleSelection", [&] { HDF5Dataset(H5T_NATIVE_INT, space.get()).getBuffer(); });
  refusal("staleSelection",
          [&] { HDF5Dataset(H5T_NATIVE_INT, space.get()).write(zembra::makeEmpty().get()); });
}

TEST_F(Hdf5DatasetTest, EmptyExtentsGiveEmptyArraysOfTheClass) {
  struct Case {
    Type type;
    zbClass expected;
  };
  const Case cases[] = {{copy(H5T_STD_I16BE), zbClass::Int16},
                        {fixedText(3), zbClass::Char},
                        {variableText(), zbClass::Cell},
                        {sequenceOf(H5T_NATIVE_INT), zbClass::Cell},
                        {compoundOf({{"a", H5T_NATIVE_INT}}), zbClass::Struct},
                        {arrayOf(H5T_NATIVE_DOUBLE, {2}), zbClass::Double},
                        {copy(H5T_STD_REF_OBJ), zbClass::UInt8}};
  for (const auto& [type, expected] : cases) {
    for (const Space& space : {simple({0}), simple({3, 0}), null()}) {
      const auto dataset = create(type.get(), space);
      const Value back = read(dataset.get(), memoryType(type.get()).get(), space);
      EXPECT_EQ(back.get()->type, expected);
      const bool compound = expected == zbClass::Struct;
      EXPECT_EQ((compound ? field(back.get(), "a") : back.get())->elements, 0U);
      HDF5Dataset transfer(type.get(), space.get());
      EXPECT_NE(transfer.write(zembra::makeEmpty().get()), nullptr);
    }
  }
  const Value shaped =
      read(create(H5T_NATIVE_INT, simple({3, 0})).get(), H5T_NATIVE_INT, simple({3, 0}));
  EXPECT_EQ(shapeOf(shaped.get()), (Shape{0, 3}));
  writeRefusal("sizeMismatch", copy(H5T_NATIVE_INT), null(), column<std::int32_t>({1}));
}

TEST_F(Hdf5DatasetTest, SizesBeyondMemoryAreRefused) {
  const hsize_t large = hsize_t{1} << 40;
  const auto wrapping = [&] { HDF5Dataset(H5T_NATIVE_INT8, simple({large, large}).get()); };
  refusal("tooLarge", wrapping);
  const auto bytes = [&] {
    const Space space = simple({hsize_t{1} << 62});
    HDF5Dataset transfer(H5T_NATIVE_DOUBLE, space.get());
    transfer.getBuffer();
  };
  refusal("tooLarge", bytes);
  const auto memory = [&] {
    const Space space = simple({hsize_t{1} << 59});
    HDF5Dataset transfer(H5T_NATIVE_DOUBLE, space.get());
    transfer.getBuffer();
  };
  EXPECT_THAT(refusal("outOfMemory", memory), HasSubstr("4611686018427387904"));
}

// --- Classes that are refused ------------------------------------------------------------

TEST_F(Hdf5DatasetTest, OtherClassesThanTheDatatypesAreNamed) {
  const Type memory = copy(H5T_NATIVE_DOUBLE);
  EXPECT_EQ(writeRefusal("classMismatch", memory, simple({12}),
                         numbers<std::int32_t>({3, 4}, std::vector<std::int32_t>(12))),
            "The array is int32 3-by-4 but the datatype H5T_FLOAT of 8 bytes needs double.");
  writeRefusal("classMismatch", memory, scalar(), makeText("a"));
  writeRefusal("classMismatch", memory, scalar(), cell(column<double>({1})));
  writeRefusal("classMismatch", memory, scalar(), zembra::makeObject("H5ZB.id", {}));
  writeRefusal("classMismatch", memory, scalar(), zembra::makeFunction(nullptr));
  writeRefusal("classMismatch", memory, scalar(), zembra::makeForeign({}));
  writeRefusal("classMismatch", memory, scalar(), logical({1}));
  EXPECT_EQ(laidOut<std::uint8_t>(copy(H5T_NATIVE_UINT8), scalar(), logical({1}), 1)[0], 1);
  for (const Value& data : {makeText("a"), cell(column<double>({1})), makeStruct({})}) {
    const auto choose = [&] { memoryType(H5T_STD_I32LE, data); };
    EXPECT_THAT(refusal("classMismatch", choose), HasSubstr("H5T_INTEGER of 4 bytes"));
  }
}

TEST_F(Hdf5DatasetTest, ComplexAndSparseArraysAreRefused) {
  const Value complex = column<double>({1});
  complex.get()->complex = true;
  const Value sparse = column<double>({1});
  sparse.get()->sparse = true;
  for (const Type& memory : {copy(H5T_NATIVE_DOUBLE), colours(H5T_NATIVE_INT)}) {
    writeRefusal("complexData", memory, scalar(), complex);
    writeRefusal("sparseData", memory, scalar(), sparse);
  }
  const Type compound = compoundOf({{"z", H5T_NATIVE_DOUBLE}});
  EXPECT_THAT(writeRefusal("complexData", compound, scalar(), makeStruct({{"z", complex}})),
              HasSubstr("Field 'z'"));
}

TEST_F(Hdf5DatasetTest, DatatypesWithoutAHostFormAreNamed) {
  const Type wide = sized(H5T_STD_I64LE, 16);
  const Space space = scalar();
  struct Case {
    hid_t type;
    const char* name;
  };
  const Case cases[] = {{H5T_UNIX_D32LE, "H5T_TIME"}, {wide.get(), "H5T_INTEGER of 16 bytes"}};
  for (const auto& [type, name] : cases) {
    const auto plan = [&, type = type] { HDF5Dataset(type, space.get()); };
    EXPECT_THAT(refusal("unsupportedDatatype", plan), HasSubstr(name));
    const auto choose = [type = type] { memoryType(type); };
    EXPECT_THAT(refusal("unsupportedDatatype", choose), HasSubstr(name));
    const Type nested = compoundOf({{"a", H5T_NATIVE_INT}, {"b", type}});
    const auto inside = [&] { memoryType(nested.get()); };
    EXPECT_THAT(refusal("unsupportedDatatype", inside), HasSubstr(name));
  }
}

TEST_F(Hdf5DatasetTest, NestingHasALimit) {
  Type type = copy(H5T_NATIVE_INT);
  for (int depth = 1; depth < 32; ++depth) type = arrayOf(type.get(), {1});
  const Space space = scalar();
  // Not through a file: HDF5's own work doubles with each level.
  const std::int32_t five = 5;
  const Value back = gathered(memoryType(type.get()), space, &five);
  EXPECT_THAT(valuesOf<std::int32_t>(back.get()), ElementsAre(5));
  EXPECT_THAT(laidOut<std::int32_t>(type, space, back, 1), ElementsAre(5));
  EXPECT_EQ(back.get()->naturalRank, 31);
  const Type deeper = arrayOf(type.get(), {1});
  const auto plan = [&] { HDF5Dataset(deeper.get(), space.get()); };
  refusal("unsupportedDatatype", plan);
  const auto choose = [&] { memoryType(deeper.get()); };
  EXPECT_THAT(refusal("unsupportedDatatype", choose), HasSubstr("32 levels"));
}

TEST_F(Hdf5DatasetTest, InvalidIdentifiersAreHdf5sOwnFailure) {
  const Space space = scalar();
  for (const hid_t type : {hid_t{-1}, hid_t{0}, space.get()}) {
    EXPECT_TRUE(failureOf([&] { HDF5Dataset(type, space.get()); }).libraryFailure);
    EXPECT_TRUE(failureOf([&] { HDF5Dataset::getMemDatatype(type); }).libraryFailure);
  }
  EXPECT_TRUE(failureOf([&] { HDF5Dataset(H5T_NATIVE_INT, -1); }).libraryFailure);
}

// --- Memory datatypes ----------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, MemoryDatatypesForReadingAreNative) {
  EXPECT_TRUE(equal(memoryType(H5T_STD_I8BE), H5T_NATIVE_INT8));
  EXPECT_TRUE(equal(memoryType(H5T_STD_U8BE), H5T_NATIVE_UINT8));
  EXPECT_TRUE(equal(memoryType(H5T_STD_I16BE), H5T_NATIVE_INT16));
  EXPECT_TRUE(equal(memoryType(H5T_STD_U16BE), H5T_NATIVE_UINT16));
  EXPECT_TRUE(equal(memoryType(sized(H5T_STD_I32BE, 3).get()), H5T_NATIVE_INT32));
  EXPECT_TRUE(equal(memoryType(H5T_STD_U32BE), H5T_NATIVE_UINT32));
  EXPECT_TRUE(equal(memoryType(sized(H5T_STD_U64BE, 5).get()), H5T_NATIVE_UINT64));
  EXPECT_TRUE(equal(memoryType(H5T_STD_I64BE), H5T_NATIVE_INT64));
  EXPECT_TRUE(equal(memoryType(H5T_IEEE_F32BE), H5T_NATIVE_FLOAT));
  EXPECT_TRUE(equal(memoryType(H5T_IEEE_F64BE), H5T_NATIVE_DOUBLE));
  EXPECT_TRUE(equal(memoryType(H5T_NATIVE_LDOUBLE), H5T_NATIVE_DOUBLE));
  EXPECT_TRUE(equal(memoryType(H5T_STD_B16BE), H5T_NATIVE_B16));
  const Type text = fixedText(7, H5T_STR_SPACEPAD);
  EXPECT_TRUE(equal(memoryType(text.get()), text.get()));
  const Type variable = variableText(H5T_CSET_UTF8);
  EXPECT_TRUE(equal(memoryType(variable.get()), variable.get()));
  EXPECT_TRUE(equal(memoryType(H5T_STD_REF_DSETREG), H5T_STD_REF_DSETREG));
  EXPECT_TRUE(equal(memoryType(colours(H5T_STD_I32BE).get()), colours(H5T_NATIVE_INT32).get()));
  EXPECT_TRUE(
      equal(memoryType(sequenceOf(H5T_STD_I32BE).get()), sequenceOf(H5T_NATIVE_INT32).get()));
  EXPECT_TRUE(equal(memoryType(arrayOf(H5T_STD_I32BE, {2, 3}).get()),
                    arrayOf(H5T_NATIVE_INT32, {2, 3}).get()));
  const Type padded = compoundOf({{"a", H5T_STD_I8LE}, {"b", H5T_IEEE_F64BE}}, 7);
  EXPECT_TRUE(equal(memoryType(padded.get()),
                    compoundOf({{"a", H5T_NATIVE_INT8}, {"b", H5T_NATIVE_DOUBLE}}).get()));
}

TEST_F(Hdf5DatasetTest, MemoryDatatypesForWritingFollowTheArray) {
  const Value doubles = column<double>({1});
  EXPECT_TRUE(equal(memoryType(H5T_STD_I8BE, doubles), H5T_NATIVE_DOUBLE));
  EXPECT_TRUE(equal(memoryType(H5T_IEEE_F64BE, column<std::int8_t>({1})), H5T_NATIVE_INT8));
  EXPECT_TRUE(equal(memoryType(H5T_IEEE_F64BE, logical({1})), H5T_NATIVE_UINT8));
  EXPECT_TRUE(equal(memoryType(H5T_STD_I16BE, makeText("")), H5T_NATIVE_INT16));
  const Type compound = compoundOf({{"a", H5T_STD_I8LE}, {"b", H5T_IEEE_F64BE}});
  EXPECT_TRUE(
      equal(memoryType(compound.get(), makeStruct({{"b", column<float>({1})}, {"a", doubles}})),
            compoundOf({{"a", H5T_NATIVE_DOUBLE}, {"b", H5T_NATIVE_FLOAT}}).get()));
  EXPECT_TRUE(
      equal(memoryType(compound.get(), zembra::makeEmpty()), memoryType(compound.get()).get()));
  const Type sequence = sequenceOf(H5T_STD_I8LE);
  EXPECT_TRUE(equal(memoryType(sequence.get(), cell(makeText(""), Value(), doubles)),
                    sequenceOf(H5T_NATIVE_DOUBLE).get()));
  EXPECT_TRUE(equal(memoryType(sequence.get(), cell()), sequenceOf(H5T_NATIVE_INT8).get()));
  EXPECT_TRUE(equal(memoryType(arrayOf(H5T_STD_I8LE, {1}).get(), doubles),
                    arrayOf(H5T_NATIVE_DOUBLE, {1}).get()));
  const Type colour = colours(H5T_STD_I16LE);
  EXPECT_TRUE(equal(memoryType(colour.get(), doubles), colour.get()));
  EXPECT_TRUE(equal(memoryType(H5T_STD_B8LE, doubles), H5T_NATIVE_B8));
}

// --- Memory of variable-length data -----------------------------------------------------

/// Counts what HDF5 allocates through a transfer list; blocks are C's, as the host's are.
int outstanding = 0;
void* allocateCounted(std::size_t size, void*) {
  ++outstanding;
  return zbMalloc(size);
}

class Hdf5DatasetMemory : public Hdf5DatasetTest {
 protected:
  Hdf5DatasetMemory() : type_(variableText()), dataset_(create(type_.get(), simple({3}))) {
    write(dataset_.get(), type_.get(), simple({3}), texts({"alpha", "beta", "gamma"}));
    H5Pset_vlen_mem_manager(
        list_.get(), allocateCounted, nullptr, [](void* memory, void*) { zbFree(memory); },
        nullptr);
  }
  void TearDown() override {
    list_.close();
    dataset_.close();
    type_.close();
    Hdf5DatasetTest::TearDown();
  }
  void fill(void* buffer) {
    ASSERT_GE(H5Dread(dataset_.get(), type_.get(), H5S_ALL, H5S_ALL, list_.get(), buffer), 0);
  }

  Type type_;
  hdf5::Handle<H5Dclose> dataset_;
  hdf5::PropertyList list_{H5Pcreate(H5P_DATASET_XFER)};
};

// The address sanitizer sees what is freed twice or never.

TEST_F(Hdf5DatasetMemory, IsReclaimedThoughTheIdentifiersAreClosedFirst) {
  Type memory = copy(type_.get());
  Space space = simple({3});
  HDF5Dataset transfer(memory.get(), space.get());
  void* buffer = transfer.getBuffer();
  outstanding = 0;
  fill(buffer);
  EXPECT_EQ(outstanding, 3);
  const Value array = zembra::CallScope::take(transfer.read(buffer));
  memory.close();
  space.close();
  EXPECT_THAT(textsOf(array.get()), ElementsAre("alpha", "beta", "gamma"));
}

TEST_F(Hdf5DatasetMemory, IsReclaimedWithoutARead) {
  const Space space = simple({3});
  HDF5Dataset transfer(type_.get(), space.get());
  fill(transfer.getBuffer());
}

TEST_F(Hdf5DatasetMemory, OfAnotherBufferIsLeftAlone) {
  const Space space = simple({3});
  std::vector<char*> buffer(3);
  fill(buffer.data());
  {
    HDF5Dataset transfer(type_.get(), space.get());
    transfer.getBuffer();
    const Value array = zembra::CallScope::take(transfer.read(buffer.data()));
    EXPECT_THAT(textsOf(array.get()), ElementsAre("alpha", "beta", "gamma"));
  }
  EXPECT_STREQ(buffer[2], "gamma");
  for (char* text : buffer) zbFree(text);
}

TEST_F(Hdf5DatasetMemory, IsReclaimedWithoutTouchingTheErrorStack) {
  const auto records = [] { return H5Eget_num(H5E_DEFAULT); };
  EXPECT_TRUE(failureOf([&] {
                const Space space = simple({3});
                HDF5Dataset transfer(type_.get(), space.get());
                fill(transfer.getBuffer());
                H5Dget_type(-1);
                KVH5libraryError();
              }).libraryFailure);
  EXPECT_GT(records(), 0);
}

}  // namespace
