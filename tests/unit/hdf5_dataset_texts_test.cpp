// HDF5Dataset: texts of fixed and variable length, opaque data, references.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/unit/hdf5_dataset_fixture.hpp"

namespace {

using namespace h5test;
using testing::ElementsAre;
using testing::HasSubstr;

// --- Texts ---------------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, FixedTextsPutTheirBytesFirst) {
  const Value back = roundTrip(fixedText(4), makeSpace({2}), chars({4, 2}, "abcdwxyz"));
  EXPECT_EQ(textOf(back), "abcdwxyz");
  EXPECT_EQ(shapeOf(back), (Shape{4, 2}));
  EXPECT_EQ(back.get()->naturalRank, 2);

  const Value one = roundTrip(fixedText(6), scalarSpace(), text("wind"));
  EXPECT_EQ(textOf(one), std::string_view("wind\0\0", 6));
  EXPECT_EQ(shapeOf(one), (Shape{6, 1}));
  EXPECT_EQ(one.get()->naturalRank, 1);
}

TEST_F(Hdf5DatasetTest, FixedTextsArePaddedAsTheirTypeSays) {
  const Value spaces =
      roundTrip(fixedText(3, H5T_STR_SPACEPAD), makeSpace({3}), texts({"a", "bcd", ""}));
  EXPECT_EQ(textOf(spaces), "a  bcd   ");
  const Value nulls = roundTrip(fixedText(3, H5T_STR_NULLPAD), makeSpace({2}), texts({"a", "bc"}));
  EXPECT_EQ(textOf(nulls), std::string_view("a\0\0bc\0", 6));
  const Value matrix = roundTrip(fixedText(4, H5T_STR_SPACEPAD), makeSpace({2}),
                                 chars({2, 2}, std::string_view("a\0bc", 4)));
  EXPECT_EQ(textOf(matrix), "a   bc  ");
}

TEST_F(Hdf5DatasetTest, FixedTextsTakeCellsOfAnyShape) {
  const Value data = zembra::makeCell({1, 2}, {text("one"), chars({3, 1}, "two")});
  const Value back = roundTrip(fixedText(3), makeSpace({2}), data);
  EXPECT_EQ(textOf(back), "onetwo");
}

TEST_F(Hdf5DatasetTest, TrailingNullsDoNotCountAsText) {
  const Value back = roundTrip(fixedText(2), scalarSpace(), text(std::string_view("ab\0\0", 4)));
  EXPECT_EQ(textOf(back), "ab");
  const Value rows =
      roundTrip(fixedText(2), makeSpace({2}), chars({3, 2}, std::string_view("ab\0c\0\0", 6)));
  EXPECT_EQ(textOf(rows), std::string_view("abc\0", 4));
}

TEST_F(Hdf5DatasetTest, FixedTextsThatDoNotFitAreRefused) {
  EXPECT_THAT(writeRefusal("textTooLong", fixedText(4), scalarSpace(), text("hello")),
              HasSubstr("5 bytes"));
  EXPECT_THAT(writeRefusal("textTooLong", fixedText(4), makeSpace({2}), texts({"a", "hello"})),
              HasSubstr("Item 1"));
  writeRefusal("textTooLong", fixedText(2), makeSpace({2}), chars({3, 2}, "abcdef"));
  writeRefusal("sizeMismatch", fixedText(4), makeSpace({3}), chars({4, 2}, "abcdefgh"));
  writeRefusal("sizeMismatch", fixedText(4), makeSpace({3}), texts({"a", "b"}));
  writeRefusal("sizeMismatch", fixedText(4), scalarSpace(), chars({2, 2}, "abcd"));
  writeRefusal("classMismatch", fixedText(4), scalarSpace(), column<double>({1}));
  EXPECT_THAT(writeRefusal("classMismatch", fixedText(4), makeSpace({2}),
                           cells(text("a"), column<double>({1}))),
              HasSubstr("Item 1"));
  EXPECT_THAT(writeRefusal("missingItem", fixedText(4), makeSpace({2}), cells(text("a"), Value())),
              HasSubstr("Item 1"));
}

TEST_F(Hdf5DatasetTest, VariableTextsAreCellsOfRows) {
  const Value back =
      roundTrip(variableText(), makeSpace({2, 2}),
                zembra::makeCell({2, 2}, {text("north"), text(""), text("s"), text("w")}));
  EXPECT_THAT(textsOf(back), ElementsAre("north", "", "s", "w"));
  EXPECT_EQ(shapeOf(back), (Shape{2, 2}));
  EXPECT_EQ(back.get()->naturalRank, 2);
  EXPECT_EQ(shapeOf(element(back, 0)), (Shape{1, 5}));
  EXPECT_EQ(shapeOf(element(back, 1)), (Shape{0, 0}));
}

TEST_F(Hdf5DatasetTest, VariableTextsTakeARowOrAMatrix) {
  const Value row = roundTrip(variableText(), scalarSpace(), text("gust"));
  EXPECT_THAT(textsOf(row), ElementsAre("gust"));
  EXPECT_EQ(row.get()->naturalRank, 0);
  const Value matrix = roundTrip(variableText(), makeSpace({3}),
                                 chars({3, 3}, std::string_view("abcd\0\0\0\0\0", 9)));
  EXPECT_THAT(textsOf(matrix), ElementsAre("abc", "d", ""));
  const Value long1 = roundTrip(variableText(), scalarSpace(), text(std::string(200000, 'x')));
  EXPECT_THAT(textsOf(long1), ElementsAre(std::string(200000, 'x')));
}

TEST_F(Hdf5DatasetTest, NullPointersAreEmptyTexts) {
  const char* buffer[] = {nullptr, "a"};
  const Value array = gathered(variableText(), makeSpace({2}), buffer);
  EXPECT_THAT(textsOf(array), ElementsAre("", "a"));
}

TEST_F(Hdf5DatasetTest, VariableTextsThatDoNotFitAreRefused) {
  EXPECT_THAT(writeRefusal("embeddedNull", variableText(), makeSpace({2}),
                           texts({"a", std::string_view("b\0c", 3)})),
              HasSubstr("Item 1"));
  writeRefusal("embeddedNull", variableText(), scalarSpace(), text(std::string_view("\0c", 2)));
  writeRefusal("sizeMismatch", variableText(), makeSpace({2}), texts({"a"}));
  writeRefusal("classMismatch", variableText(), scalarSpace(), column<double>({1}));
  writeRefusal("classMismatch", variableText(), scalarSpace(), cells(logicals({1})));
  writeRefusal("missingItem", variableText(), scalarSpace(), cells(Value()));
}

// --- Opaque data and references ------------------------------------------------------

TEST_F(Hdf5DatasetTest, OpaqueDataAreBytes) {
  Owned type = opaque(3);
  H5Tset_tag(type.get(), "pixel");
  const Value back =
      roundTrip(type, makeSpace({2}), numbers<std::uint8_t>({3, 2}, {1, 2, 3, 4, 5, 6}));
  EXPECT_THAT(valuesOf<std::uint8_t>(back), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_EQ(shapeOf(back), (Shape{3, 2}));
  EXPECT_EQ(back.get()->naturalRank, 2);
  EXPECT_TRUE(equal(memoryType(type), type));
  EXPECT_THAT(writeRefusal("sizeMismatch", type, makeSpace({2}), column<std::uint8_t>({1, 2, 3})),
              HasSubstr("3 bytes where 6"));
  writeRefusal("classMismatch", type, makeSpace({1}), column<std::int8_t>({1, 2, 3}));
}

TEST_F(Hdf5DatasetTest, ReferencesAreBytes) {
  const auto target = create(H5T_NATIVE_INT, makeSpace({4}));
  std::vector<std::uint8_t> bytes(8);
  ASSERT_GE(H5Rcreate(bytes.data(), file_.get(), "data0", H5R_OBJECT, -1), 0);
  const Value object = roundTrip(copyOf(H5T_STD_REF_OBJ), scalarSpace(), column(bytes));
  EXPECT_EQ(valuesOf<std::uint8_t>(object), bytes);
  EXPECT_EQ(shapeOf(object), (Shape{8, 1}));

  std::vector<std::uint8_t> region(12);
  const Owned space = makeSpace({4});
  ASSERT_GE(H5Rcreate(region.data(), file_.get(), "data0", H5R_DATASET_REGION, space.get()), 0);
  const Value back = roundTrip(copyOf(H5T_STD_REF_DSETREG), makeSpace({1}), column(region));
  EXPECT_EQ(valuesOf<std::uint8_t>(back), region);
  EXPECT_EQ(shapeOf(back), (Shape{12, 1}));
  EXPECT_EQ(back.get()->naturalRank, 2);
}

}  // namespace
