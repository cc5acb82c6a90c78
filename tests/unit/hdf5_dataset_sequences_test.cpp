// HDF5Dataset: sequences, of everything that they can be of.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>

#include "tests/unit/hdf5_dataset_fixture.hpp"

namespace {

using namespace h5test;
using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(Hdf5DatasetTest, SequencesAreCellsOfColumns) {
  const Value back = roundTrip(
      sequenceOf(H5T_STD_I32BE), makeSpace({3}),
      cells(column<std::int32_t>({1, 2, 3}), text(""), numbers<std::int32_t>({1, 2}, {4, 5})));
  EXPECT_EQ(shapeOf(back), (Shape{3, 1}));
  EXPECT_EQ(back.get()->naturalRank, 1);
  EXPECT_THAT(valuesOf<std::int32_t>(element(back, 0)), ElementsAre(1, 2, 3));
  EXPECT_EQ(shapeOf(element(back, 0)), (Shape{3, 1}));
  EXPECT_EQ(element(back, 0).get()->naturalRank, 1);
  EXPECT_EQ(element(back, 1).get()->elements, 0U);
  EXPECT_THAT(valuesOf<std::int32_t>(element(back, 2)), ElementsAre(4, 5));
}

TEST_F(Hdf5DatasetTest, SequenceItemsAreNotCopied) {
  const Owned memory = sequenceOf(H5T_NATIVE_DOUBLE);
  const Value first = column<double>({1, 2});
  const auto sequences = laidOut<hvl_t>(memory, makeSpace({2}), cells(first, empty()), 2);
  EXPECT_EQ(sequences[0].p, first.get()->data);
  EXPECT_EQ(sequences[0].len, 2U);
  EXPECT_EQ(sequences[1].p, nullptr);
  EXPECT_EQ(sequences[1].len, 0U);
}

TEST_F(Hdf5DatasetTest, SequencesOfForeignNumbersAreConverted) {
  const Owned memory = sequenceOf(H5T_STD_U16BE);
  const Value back =
      roundTrip(memory, memory, makeSpace({1}), cells(column<std::uint16_t>({1, 2, 3})));
  EXPECT_THAT(valuesOf<std::uint16_t>(element(back, 0)), ElementsAre(1, 2, 3));
}

TEST_F(Hdf5DatasetTest, SequencesOfCompoundsAreStructuresOfColumns) {
  const Owned name = variableText();
  const Owned point = compoundOf({{"x", H5T_STD_I32BE}, {"name", name}});
  const Value data = cells(structure({{"x", column<double>({1, 2})}, {"name", texts({"a", "b"})}}),
                           structure({{"x", empty()}, {"name", empty()}}));
  const Value back = roundTrip(sequenceOf(point), makeSpace({2}), data);
  EXPECT_THAT(valuesOf<std::int32_t>(field(element(back, 0), "x")), ElementsAre(1, 2));
  EXPECT_EQ(shapeOf(field(element(back, 0), "x")), (Shape{2, 1}));
  EXPECT_THAT(textsOf(field(element(back, 0), "name")), ElementsAre("a", "b"));
  EXPECT_EQ(field(element(back, 1), "x").get()->elements, 0U);
}

TEST_F(Hdf5DatasetTest, SequencesOfSequencesAreCellsOfCells) {
  const Owned inner = sequenceOf(H5T_NATIVE_FLOAT);
  const Value data = cells(cells(column<double>({1}), column<double>({2, 3})), cells());
  const Value back = roundTrip(sequenceOf(inner), makeSpace({2}), data);
  EXPECT_EQ(classOf(element(back, 0)), zbClass::Cell);
  EXPECT_THAT(valuesOf<float>(element(element(back, 0), 0)), ElementsAre(1));
  EXPECT_THAT(valuesOf<float>(element(element(back, 0), 1)), ElementsAre(2, 3));
  EXPECT_EQ(element(back, 1).get()->elements, 0U);
}

TEST_F(Hdf5DatasetTest, SequencesOfTextsBytesAndArrays) {
  const Value fixed =
      roundTrip(sequenceOf(fixedText(2)), makeSpace({4}),
                cells(texts({"ab", "c"}), text("xy"), chars({2, 2}, "efgh"), text("")));
  EXPECT_EQ(textOf(element(fixed, 0)), std::string_view("abc\0", 4));
  EXPECT_EQ(textOf(element(fixed, 1)), "xy");
  EXPECT_EQ(shapeOf(element(fixed, 2)), (Shape{2, 2}));
  EXPECT_EQ(element(fixed, 3).get()->elements, 0U);

  const Value single = roundTrip(sequenceOf(fixedText(1)), makeSpace({1}), cells(text("abc")));
  EXPECT_EQ(shapeOf(element(single, 0)), (Shape{1, 3}));

  const Value variable = roundTrip(sequenceOf(variableText()), makeSpace({2}),
                                   cells(texts({"one", "two"}), text("three")));
  EXPECT_THAT(textsOf(element(variable, 0)), ElementsAre("one", "two"));
  EXPECT_THAT(textsOf(element(variable, 1)), ElementsAre("three"));

  const Owned bytes = opaque(2);
  const Value opaque = roundTrip(sequenceOf(bytes), makeSpace({1}),
                                 cells(numbers<std::uint8_t>({2, 3}, {1, 2, 3, 4, 5, 6})));
  EXPECT_EQ(shapeOf(element(opaque, 0)), (Shape{2, 3}));

  const Owned pair = arrayOf(H5T_STD_I16BE, {2});
  const Value arrays = roundTrip(sequenceOf(pair), makeSpace({1}),
                                 cells(numbers<std::int16_t>({2, 3}, {1, 2, 3, 4, 5, 6})));
  EXPECT_EQ(shapeOf(element(arrays, 0)), (Shape{2, 3}));
  EXPECT_EQ(element(arrays, 0).get()->naturalRank, 2);
  EXPECT_THAT(valuesOf<std::int16_t>(element(arrays, 0)), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(Hdf5DatasetTest, SequencesThatDoNotFitAreRefused) {
  const Owned type = sequenceOf(H5T_NATIVE_INT);
  const Value one = column<std::int32_t>({1});
  writeRefusal("classMismatch", type, scalarSpace(), one);
  writeRefusal("sizeMismatch", type, makeSpace({2}), cells(one));
  EXPECT_THAT(writeRefusal("missingItem", type, makeSpace({2}), cells(one, Value())),
              HasSubstr("Item 1 "));
  EXPECT_THAT(writeRefusal("classMismatch", type, makeSpace({2}), cells(one, column<double>({1}))),
              HasSubstr("Item 1 (counted from 0) of the array is double 1-by-1"));
  writeRefusal("classMismatch", sequenceOf(type), scalarSpace(), cells(one));

  // Nothing is dropped: neither a part of an element nor what an empty field hides.
  const Owned bytes = opaque(4);
  writeRefusal("sizeMismatch", sequenceOf(bytes), scalarSpace(),
               cells(column<std::uint8_t>({1, 2, 3})));
  const Owned pair = arrayOf(H5T_NATIVE_INT, {2});
  writeRefusal("sizeMismatch", sequenceOf(pair), scalarSpace(), cells(one));
  const Owned point = compoundOf({{"x", H5T_NATIVE_INT}, {"y", H5T_NATIVE_INT}});
  writeRefusal("sizeMismatch", sequenceOf(point), scalarSpace(),
               cells(structure({{"x", empty()}, {"y", one}})));
  writeRefusal("missingMember", sequenceOf(point), scalarSpace(), cells(structure({{"y", one}})));
  const auto choose = [&] { memoryType(type, cells(text("one"))); };
  EXPECT_THAT(refusal("classMismatch", choose), HasSubstr("Item 0"));
}

}  // namespace
