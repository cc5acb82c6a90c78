// Texts of variable length as they come from HDF5: packed, behind the same cells as ever.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "runtime/packed_texts.hpp"
#include "tests/unit/hdf5_dataset_fixture.hpp"
#include "tests/unit/lists.hpp"

namespace {

using namespace h5test;
using testing::ElementsAre;

class PackedTextsTest : public Hdf5DatasetTest {
 protected:
  /// What a read gives that has its memory from the host.
  Value readPacked(const Owned& dataset, AnyType memory, const Owned& space) {
    const Owned list = makeList("H5P_DATASET_XFER");
    HDF5Dataset transfer(memory.get(), space.get());
    void* buffer = transfer.getBuffer();
    transfer.provideMemory(list.get());
    EXPECT_GE(H5Dread(dataset.get(), memory.get(), space.get(), H5S_ALL, list.get(), buffer), 0);
    return zembra::CallScope::take(transfer.read(buffer));
  }
  Value packed(const std::vector<std::string_view>& words) {
    const Owned space = makeSpace({static_cast<double>(words.size())});
    const Owned dataset = create(variableText(), space);
    write(dataset, variableText(), space, texts(words));
    return readPacked(dataset, variableText(), space);
  }
};

TEST_F(PackedTextsTest, AreCellsOfCharRows) {
  const Value cell = packed({"wind", "", "speed"});
  ASSERT_NE(zembra::packedTexts(cell.get()), nullptr);
  EXPECT_EQ(zbGetClass(cell.get()), zbClass::Cell);
  EXPECT_EQ(shapeOf(cell), (Shape{3, 1}));
  EXPECT_EQ(cell.get()->naturalRank, 1);
  EXPECT_THAT(textsOf(cell), ElementsAre("wind", "", "speed"));
  EXPECT_EQ(zbGetCell(cell.get(), 0), zbGetCell(cell.get(), 0));
  EXPECT_EQ(zbGetCell(cell.get(), 3), nullptr);
}

TEST_F(PackedTextsTest, ThatAreNullAreEmpty) {
  const Owned space = makeSpace({2});
  const Owned dataset = create(variableText(), space);
  EXPECT_THAT(textsOf(readPacked(dataset, variableText(), space)), ElementsAre("", ""));
}

TEST_F(PackedTextsTest, CanBeReplacedOneByOne) {
  const Value cell = packed({"a", "b", "c"});
  zbSetCell(cell.get(), 1, zbCreateString("another"));
  EXPECT_EQ(zembra::packedTexts(cell.get()), nullptr);
  EXPECT_THAT(textsOf(cell), ElementsAre("a", "another", "c"));
}

TEST_F(PackedTextsTest, OutliveTheirCellInACopy) {
  Value cell = packed({"first", "second"});
  zbGetCell(cell.get(), 0);
  const Value copy = zembra::CallScope::take(zbDuplicateArray(cell.get()));
  zbSetCell(cell.get(), 1, zbCreateString("changed"));
  cell = Value();
  EXPECT_THAT(textsOf(copy), ElementsAre("first", "second"));
}

TEST_F(PackedTextsTest, AreWrittenAsTheyCame) {
  const Value cell = packed({"north", "", "east"});
  EXPECT_THAT(textsOf(roundTrip(variableText(), makeSpace({3}), cell)),
              ElementsAre("north", "", "east"));
  EXPECT_EQ(textOf(roundTrip(fixedText(5), makeSpace({3}), cell)),
            std::string_view("north\0\0\0\0\0east\0", 15));
  writeRefusal("sizeMismatch", variableText(), makeSpace({2}), cell);
  writeRefusal("textTooLong", fixedText(4), makeSpace({3}), cell);
}

TEST_F(PackedTextsTest, LieWithinCompoundsAndSequences) {
  const Owned type = compoundOf({{"names", sequenceOf(variableText())}, {"unit", variableText()}});
  const Owned space = makeSpace({2});
  const Owned dataset = create(type, space);
  const Value names = zembra::makeCell({2, 1}, {texts({"one", "two"}), texts({"three"})});
  write(dataset, type, space, structure({{"names", names}, {"unit", texts({"m", "s"})}}));
  const Value back = readPacked(dataset, type, space);
  EXPECT_THAT(textsOf(field(back, "unit")), ElementsAre("m", "s"));
  EXPECT_THAT(textsOf(element(field(back, "names"), 0)), ElementsAre("one", "two"));
  EXPECT_THAT(textsOf(element(field(back, "names"), 1)), ElementsAre("three"));
}

}  // namespace
