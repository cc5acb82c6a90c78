// HDF5Dataset: compounds, arrays, and one within the other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <numeric>
#include <string_view>
#include <vector>

#include "tests/unit/hdf5_dataset_fixture.hpp"

namespace {

using namespace h5test;
using testing::ElementsAre;
using testing::HasSubstr;

// --- Compounds -----------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, CompoundsAreStructuresOfColumns) {
  const Owned type = compoundOf({{"id", H5T_STD_I16BE}, {"speed", H5T_IEEE_F64LE}});
  const Value data = structure({{"speed", numbers<double>({2, 2}, {0.5, 1.5, 2.5, 3.5})},
                                {"id", numbers<std::int16_t>({2, 2}, {1, 2, 3, 4})}});
  const Value back = roundTrip(type, makeSpace({2, 2}), data);
  EXPECT_EQ(classOf(back), zbClass::Struct);
  EXPECT_EQ(shapeOf(back), (Shape{1, 1}));
  EXPECT_THAT(back.get()->composite->names, ElementsAre("id", "speed"));
  EXPECT_THAT(valuesOf<std::int16_t>(field(back, "id")), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(valuesOf<double>(field(back, "speed")), ElementsAre(0.5, 1.5, 2.5, 3.5));
  EXPECT_EQ(shapeOf(field(back, "speed")), (Shape{2, 2}));
  EXPECT_EQ(field(back, "speed").get()->naturalRank, 2);
}

TEST_F(Hdf5DatasetTest, PaddedAndForeignCompoundsAreReadAsTheyLie) {
  const Owned odd = resized(H5T_STD_U32BE, 3);
  const Owned enumeration = colours(H5T_STD_I16BE);
  const Owned type = compoundOf({{"odd", odd},
                                 {"wide", H5T_NATIVE_LDOUBLE},
                                 {"colour", enumeration},
                                 {"plain", H5T_NATIVE_INT}},
                                5);
  const Value data = structure({{"odd", column<std::uint32_t>({70000, 2})},
                                {"wide", column<double>({0.25, -1})},
                                {"colour", column<double>({2, 0})},
                                {"plain", column<std::int32_t>({-7, 7})}});
  const Value back = roundTrip(type, type, makeSpace({2}), data);
  EXPECT_THAT(valuesOf<std::uint32_t>(field(back, "odd")), ElementsAre(70000, 2));
  EXPECT_THAT(valuesOf<double>(field(back, "wide")), ElementsAre(0.25, -1));
  EXPECT_THAT(valuesOf<std::int16_t>(field(back, "colour")), ElementsAre(2, 0));
  EXPECT_THAT(valuesOf<std::int32_t>(field(back, "plain")), ElementsAre(-7, 7));
}

TEST_F(Hdf5DatasetTest, GapsInCompoundsAreWrittenAsZeros) {
  const Owned type = compoundOf({{"a", H5T_NATIVE_UINT8}, {"b", H5T_NATIVE_UINT8}}, 2);
  const Value data =
      structure({{"a", column<std::uint8_t>({1})}, {"b", column<std::uint8_t>({2})}});
  EXPECT_THAT(laidOut<std::uint8_t>(type, scalarSpace(), data, 6), ElementsAre(0, 0, 1, 0, 0, 2));
}

TEST_F(Hdf5DatasetTest, CompoundsHoldTextsAndSequences) {
  const Owned name = variableText(H5T_CSET_UTF8);
  const Owned code = fixedText(2);
  const Owned readings = sequenceOf(H5T_STD_I32BE);
  const Owned type = compoundOf({{"name", name}, {"code", code}, {"readings", readings}}, 1);
  const Value data = structure({{"code", chars({2, 2}, "nosu")},
                                {"readings", cells(column<double>({1, 2}), empty())},
                                {"name", texts({"Nordkapp", "Sünden"})}});
  const Value back = roundTrip(type, makeSpace({2}), data);
  EXPECT_THAT(textsOf(field(back, "name")), ElementsAre("Nordkapp", "Sünden"));
  EXPECT_EQ(textOf(field(back, "code")), "nosu");
  EXPECT_EQ(shapeOf(field(back, "code")), (Shape{2, 2}));
  const Value cells = field(back, "readings");
  EXPECT_THAT(valuesOf<std::int32_t>(element(cells, 0)), ElementsAre(1, 2));
  EXPECT_EQ(element(cells, 1).get()->elements, 0U);
  EXPECT_EQ(classOf(element(cells, 1)), zbClass::Int32);
}

TEST_F(Hdf5DatasetTest, CompoundsWithinArraysWithinCompoundsAreOneColumnEach) {
  const Owned point = compoundOf({{"x", H5T_NATIVE_INT16}, {"y", H5T_NATIVE_DOUBLE}}, 1);
  const Owned path = arrayOf(point, {2, 3});
  const Owned track = compoundOf({{"path", path}, {"id", H5T_NATIVE_UINT8}}, 3);
  const Owned tracks = arrayOf(track, {2});
  const Owned type = compoundOf({{"tracks", tracks}});

  std::vector<std::int16_t> x(2 * 3 * 2 * 2);
  std::iota(x.begin(), x.end(), std::int16_t{0});
  Numbers y(x.begin(), x.end());
  const Value data = structure(
      {{"tracks", structure({{"id", numbers<std::uint8_t>({2, 2}, {1, 2, 3, 4})},
                             {"path", structure({{"x", numbers<std::int16_t>({3, 2, 2, 2}, x)},
                                                 {"y", numbers<double>({3, 2, 2, 2}, y)}})}})}});

  // Elements lie in C order: the fourth point of the second track of the first one.
  const auto bytes = laidOut<std::uint8_t>(type, makeSpace({2}), data, 2 * H5Tget_size(type.get()));
  std::int16_t fourth = 0;
  std::memcpy(&fourth, &bytes[H5Tget_size(track.get()) + 3 + 3 * 12 + 1], sizeof fourth);
  EXPECT_EQ(fourth, 9);

  const Value back = roundTrip(type, type, makeSpace({2}), data);
  const Value inner = field(back, "tracks");
  EXPECT_THAT(valuesOf<std::uint8_t>(field(inner, "id")), ElementsAre(1, 2, 3, 4));
  EXPECT_EQ(shapeOf(field(inner, "id")), (Shape{2, 2}));
  const Value points = field(inner, "path");
  EXPECT_EQ(valuesOf<std::int16_t>(field(points, "x")), x);
  EXPECT_EQ(valuesOf<double>(field(points, "y")), y);
  EXPECT_EQ(shapeOf(field(points, "x")), (Shape{3, 2, 2, 2}));
  EXPECT_EQ(field(points, "x").get()->naturalRank, 4);
}

TEST_F(Hdf5DatasetTest, CompoundsThatDoNotFitAreRefused) {
  const Owned type = compoundOf({{"a", H5T_NATIVE_INT}, {"b", H5T_NATIVE_INT}});
  const Value one = column<std::int32_t>({1});
  EXPECT_THAT(writeRefusal("missingMember", type, scalarSpace(), structure({{"a", one}})),
              HasSubstr("'b'"));
  EXPECT_THAT(writeRefusal("unknownMember", type, scalarSpace(),
                           structure({{"a", one}, {"b", one}, {"c", one}})),
              HasSubstr("'c'"));
  EXPECT_THAT(writeRefusal("classMismatch", type, scalarSpace(),
                           structure({{"a", one}, {"b", column<double>({1})}})),
              HasSubstr("Field 'b'"));
  EXPECT_THAT(writeRefusal("sizeMismatch", type, makeSpace({2}),
                           structure({{"a", column<std::int32_t>({1, 2})}, {"b", one}})),
              HasSubstr("Field 'b'"));
  writeRefusal("classMismatch", type, scalarSpace(), one);
  const char* names[] = {"a", "b"};
  const Value two = zembra::CallScope::take(zbCreateStructArray(2, 2, names));
  writeRefusal("classMismatch", type, makeSpace({2}), two);
  const auto missing = [&] { memoryType(type, structure({{"a", one}})); };
  refusal("missingMember", missing);
  const auto unknown = [&] { memoryType(type, structure({{"a", one}, {"b", one}, {"c", one}})); };
  refusal("unknownMember", unknown);
}

// --- Arrays --------------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, ArraysPutTheirDimensionsFirst) {
  const Owned type = arrayOf(H5T_STD_I32LE, {2, 3});
  std::vector<std::int32_t> values(24);
  std::iota(values.begin(), values.end(), 0);
  const Value data = numbers<std::int32_t>({3, 2, 4}, values);
  const Value back = roundTrip(type, makeSpace({4}), data);
  EXPECT_EQ(valuesOf<std::int32_t>(back), values);
  EXPECT_EQ(shapeOf(back), (Shape{3, 2, 4}));
  EXPECT_EQ(back.get()->naturalRank, 3);

  const Owned native = arrayOf(H5T_NATIVE_INT32, {2, 3});
  const Owned space = makeSpace({4});
  HDF5Dataset transfer(native.get(), space.get());
  EXPECT_EQ(transfer.write(data.get()), data.get()->data);
  writeRefusal("sizeMismatch", native, makeSpace({3}), data);
}

TEST_F(Hdf5DatasetTest, ArraysOfForeignNumbersAreConverted) {
  const Owned odd = resized(H5T_STD_I32BE, 3);
  const Owned type = arrayOf(odd, {3});
  const Value back =
      roundTrip(type, type, makeSpace({2}), numbers<std::int32_t>({3, 2}, {1, -2, 3, -4, 5, -6}));
  EXPECT_THAT(valuesOf<std::int32_t>(back), ElementsAre(1, -2, 3, -4, 5, -6));
  EXPECT_EQ(shapeOf(back), (Shape{3, 2}));
}

TEST_F(Hdf5DatasetTest, ArraysOfTexts) {
  const Value fixed = roundTrip(arrayOf(fixedText(2), {3}), makeSpace({2}),
                                texts({"a", "bb", "c", "dd", "e", "ff"}));
  EXPECT_EQ(shapeOf(fixed), (Shape{2, 3, 2}));
  EXPECT_EQ(fixed.get()->naturalRank, 3);
  EXPECT_EQ(textOf(fixed), std::string_view("a\0bbc\0dde\0ff", 12));

  const Value variable =
      roundTrip(arrayOf(variableText(), {2}), makeSpace({2}), texts({"a", "bb", "", "dd"}));
  EXPECT_EQ(shapeOf(variable), (Shape{2, 2}));
  EXPECT_EQ(variable.get()->naturalRank, 2);
  EXPECT_THAT(textsOf(variable), ElementsAre("a", "bb", "", "dd"));
}

TEST_F(Hdf5DatasetTest, ArraysOfSequences) {
  const Value back = roundTrip(arrayOf(sequenceOf(H5T_NATIVE_INT8), {2}), scalarSpace(),
                               cells(column<double>({1, 2}), column<double>({3})));
  EXPECT_EQ(shapeOf(back), (Shape{2, 1}));
  EXPECT_THAT(valuesOf<std::int8_t>(element(back, 0)), ElementsAre(1, 2));
}

}  // namespace
