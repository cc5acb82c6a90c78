// HDF5Dataset: numbers of every class and layout, enumerations, bit fields.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <numeric>
#include <type_traits>
#include <vector>

#include "tests/unit/hdf5_dataset_fixture.hpp"

namespace {

using namespace h5test;
using testing::ElementsAre;
using testing::HasSubstr;

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
    return types[std::is_signed_v<T>][std::bit_width(sizeof(T)) - 1];
  }
}

TYPED_TEST(Hdf5DatasetNumbers, KeepTheirClassValuesAndReversedShape) {
  const std::vector<TypeParam> values = {
      0, 1, std::numeric_limits<TypeParam>::max(), std::numeric_limits<TypeParam>::lowest(), 42, 7};
  const Value data = numbers<TypeParam>({3, 2}, values);
  const Value back = this->roundTrip(copyOf(littleEndian<TypeParam>()), makeSpace({2, 3}), data);
  EXPECT_EQ(valuesOf<TypeParam>(back), values);
  EXPECT_EQ(shapeOf(back), (Shape{3, 2}));
  EXPECT_EQ(back.get()->naturalRank, 2);
}

TYPED_TEST(Hdf5DatasetNumbers, AreConvertedFromAndToTheOtherByteOrder) {
  Owned foreign = copyOf(littleEndian<TypeParam>());
  H5Tset_order(foreign.get(), H5T_ORDER_BE);
  const std::vector<TypeParam> values = {1, 2, 100};
  const Value data = column(values);

  std::vector<TypeParam> swapped = values;
  H5Tconvert(littleEndian<TypeParam>(), foreign.get(), 3, swapped.data(), nullptr, H5P_DEFAULT);
  EXPECT_EQ(this->template laidOut<TypeParam>(foreign, makeSpace({3}), data, 3), swapped);
  EXPECT_EQ(valuesOf<TypeParam>(this->gathered(foreign, makeSpace({3}), swapped.data())), values);
  const Value back = this->roundTrip(foreign, foreign, makeSpace({3}), data);
  EXPECT_EQ(valuesOf<TypeParam>(back), values);
}

TEST_F(Hdf5DatasetTest, ShapesFollowTheExtent) {
  const Value one = roundTrip(copyOf(H5T_NATIVE_INT), scalarSpace(), column<std::int32_t>({5}));
  EXPECT_EQ(shapeOf(one), (Shape{1, 1}));
  EXPECT_EQ(one.get()->naturalRank, 0);

  const Value five =
      roundTrip(copyOf(H5T_NATIVE_INT), makeSpace({5}), column<std::int32_t>({1, 2, 3, 4, 5}));
  EXPECT_EQ(shapeOf(five), (Shape{5, 1}));
  EXPECT_EQ(five.get()->naturalRank, 1);

  const Value deep = roundTrip(copyOf(H5T_NATIVE_INT), makeSpace({2, 1, 3, 1}),
                               numbers<std::int32_t>({1, 3, 1, 2}, {1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(shapeOf(deep), (Shape{1, 3, 1, 2}));
  EXPECT_EQ(deep.get()->naturalRank, 4);
}

TEST_F(Hdf5DatasetTest, NumericReadsBecomeTheArrayWithoutACopy) {
  const Owned space = makeSpace({1000});
  HDF5Dataset transfer(H5T_NATIVE_DOUBLE, space.get());
  auto* buffer = static_cast<double*>(transfer.getBuffer());
  EXPECT_EQ(transfer.getBuffer(), buffer);
  std::iota(buffer, buffer + 1000, 0.0);
  const Value array = zembra::CallScope::take(transfer.read(buffer));
  EXPECT_EQ(array.get()->data, buffer);
}

TEST_F(Hdf5DatasetTest, NumericWritesPointAtTheArray) {
  const Owned space = makeSpace({4});
  const Value data = column<float>({1, 2, 3, 4});
  HDF5Dataset transfer(H5T_NATIVE_FLOAT, space.get());
  EXPECT_EQ(transfer.write(data.get()), data.get()->data);
}

TEST_F(Hdf5DatasetTest, ReadingAnotherBufferCopiesIt) {
  std::vector<std::int32_t> buffer = {1, 2, 3};
  const Value array = gathered(copyOf(H5T_NATIVE_INT32), makeSpace({3}), buffer.data());
  buffer.assign(3, 0);
  EXPECT_THAT(valuesOf<std::int32_t>(array), ElementsAre(1, 2, 3));
}

TEST_F(Hdf5DatasetTest, OddSizesWidenToTheNextClass) {
  const Value three = roundTrip(resized(H5T_STD_I32BE, 3), resized(H5T_STD_I32BE, 3),
                                makeSpace({3}), column<std::int32_t>({-1, 2, 8388607}));
  EXPECT_THAT(valuesOf<std::int32_t>(three), ElementsAre(-1, 2, 8388607));
  const Value five = roundTrip(resized(H5T_STD_U64LE, 5), resized(H5T_STD_U64LE, 5), makeSpace({2}),
                               column<std::uint64_t>({1, 1099511627775}));
  EXPECT_THAT(valuesOf<std::uint64_t>(five), ElementsAre(1, 1099511627775));
}

TEST_F(Hdf5DatasetTest, LongDoublesBecomeDoubles) {
  const Value data = column<double>({0.5, -3.25});
  const Value back =
      roundTrip(copyOf(H5T_NATIVE_LDOUBLE), copyOf(H5T_NATIVE_LDOUBLE), makeSpace({2}), data);
  EXPECT_THAT(valuesOf<double>(back), ElementsAre(0.5, -3.25));
}

TEST_F(Hdf5DatasetTest, HalfFloatsBecomeSingles) {
  Owned half = copyOf(H5T_IEEE_F32LE);
  H5Tset_fields(half.get(), 15, 10, 5, 0, 10);
  H5Tset_precision(half.get(), 16);
  H5Tset_size(half.get(), 2);
  H5Tset_ebias(half.get(), 15);
  const Value back = roundTrip(half, half, makeSpace({2}), column<float>({1.5F, -2.0F}));
  EXPECT_THAT(valuesOf<float>(back), ElementsAre(1.5F, -2.0F));
  EXPECT_EQ(laidOut<std::uint16_t>(half, scalarSpace(), column<float>({1.5F}), 1)[0], 0x3e00);
}

TEST_F(Hdf5DatasetTest, AnyNumericOrLogicalClassGoesIntoANumber) {
  const Value back =
      roundTrip(copyOf(H5T_STD_I16BE), makeSpace({3}), column<double>({1.0, -2.0, 300.0}));
  EXPECT_THAT(valuesOf<std::int16_t>(back), ElementsAre(1, -2, 300));
  const Value flags = roundTrip(copyOf(H5T_IEEE_F64LE), makeSpace({2}), logicals({1, 0}));
  EXPECT_THAT(valuesOf<double>(flags), ElementsAre(1.0, 0.0));
}

// --- Enumerations and bit fields -----------------------------------------------------

TEST_F(Hdf5DatasetTest, EnumerationsAreTheirBaseInteger) {
  for (const hid_t base : {H5T_STD_I8LE, H5T_NATIVE_INT8}) {
    const Value back = roundTrip(colours(base), makeSpace({4}), column<std::int8_t>({0, 2, 1, 1}));
    EXPECT_THAT(valuesOf<std::int8_t>(back), ElementsAre(0, 2, 1, 1));
  }
  const Value back = roundTrip(colours(H5T_STD_I32BE), makeSpace({3}), column<double>({2, 0, 1}));
  EXPECT_THAT(valuesOf<std::int32_t>(back), ElementsAre(2, 0, 1));
}

TEST_F(Hdf5DatasetTest, EnumerationsInAnotherByteOrderAreConverted) {
  const Owned memory = colours(H5T_STD_U16BE);
  EXPECT_THAT(laidOut<std::uint16_t>(memory, makeSpace({2}), logicals({1, 0}), 2),
              ElementsAre(0x0100, 0));
  const Value back = roundTrip(memory, memory, makeSpace({2}), column<std::uint16_t>({2, 1}));
  EXPECT_THAT(valuesOf<std::uint16_t>(back), ElementsAre(2, 1));
}

TEST_F(Hdf5DatasetTest, BitFieldsAreUnsigned) {
  const Value eight =
      roundTrip(copyOf(H5T_STD_B8LE), makeSpace({2}), column<std::uint8_t>({1, 255}));
  EXPECT_THAT(valuesOf<std::uint8_t>(eight), ElementsAre(1, 255));
  const Value sixteen =
      roundTrip(copyOf(H5T_STD_B16BE), makeSpace({2}), column<double>({0x1234, 1}));
  EXPECT_THAT(valuesOf<std::uint16_t>(sixteen), ElementsAre(0x1234, 1));
  const Value wide = roundTrip(copyOf(H5T_STD_B64BE), copyOf(H5T_STD_B64BE), scalarSpace(),
                               column<std::uint64_t>({0x0102030405060708}));
  EXPECT_THAT(valuesOf<std::uint64_t>(wide), ElementsAre(0x0102030405060708));
  EXPECT_TRUE(equal(memoryType(H5T_STD_B32BE), H5T_NATIVE_B32));
}

TEST_F(Hdf5DatasetTest, NumbersThatNoEnumerationOrBitFieldHoldsAreRefused) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double value : {0.5, nan, infinity, -1.0, 256.0}) {
    writeRefusal("valueOutOfRange", copyOf(H5T_NATIVE_B8), scalarSpace(), column<double>({value}));
  }
  writeRefusal("valueOutOfRange", colours(H5T_NATIVE_INT8), scalarSpace(),
               column<std::int16_t>({128}));
  writeRefusal("valueOutOfRange", colours(H5T_NATIVE_INT64), scalarSpace(),
               column<double>({9223372036854775808.0}));
  EXPECT_THAT(laidOut<std::int64_t>(colours(H5T_NATIVE_INT64), scalarSpace(),
                                    column<double>({-9223372036854775808.0}), 1),
              ElementsAre(std::numeric_limits<std::int64_t>::min()));
  writeRefusal("valueOutOfRange", copyOf(H5T_NATIVE_B64), scalarSpace(),
               column<std::int64_t>({-1}));
  EXPECT_THAT(writeRefusal("valueOutOfRange", copyOf(H5T_NATIVE_B8), makeSpace({2}),
                           column<float>({1, 2.5F})),
              HasSubstr("2.5"));
}

}  // namespace
