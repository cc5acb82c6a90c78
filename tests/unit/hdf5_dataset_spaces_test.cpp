// HDF5Dataset: selections, extents without elements or of too many.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/unit/hdf5_dataset_fixture.hpp"
#include "tests/unit/selections.hpp"

namespace {

using namespace h5test;
using testing::ElementsAre;
using testing::HasSubstr;

/// One dimension of `extent` elements, with `count` from `start` on selected.
Owned partOf(double extent, double start, double count) {
  Owned space = makeSpace({extent});
  select(space, "H5S_SELECT_SET", number(start), empty(), number(count), empty());
  return space;
}

TEST_F(Hdf5DatasetTest, WhatASelectionLeavesOutIsZero) {
  const Owned dataset = create(H5T_NATIVE_INT, makeSpace({4}));
  write(dataset, H5T_NATIVE_INT, makeSpace({4}), column<std::int32_t>({1, 2, 3, 4}));
  const Owned memory = partOf(4, 1, 2);
  const Value array = read(dataset, H5T_NATIVE_INT, memory, memory.get());
  EXPECT_THAT(valuesOf<std::int32_t>(array), ElementsAre(0, 2, 3, 0));
}

TEST_F(Hdf5DatasetTest, RepeatedPointsLeaveZerosToo) {
  const Owned dataset = create(H5T_NATIVE_INT, makeSpace({3}));
  write(dataset, H5T_NATIVE_INT, makeSpace({3}), column<std::int32_t>({1, 2, 3}));
  const Owned memory = makeSpace({3});
  call("H5Sselect_elements", memory, "H5S_SELECT_SET", row({1, 1, 1}));
  const auto values = valuesOf<std::int32_t>(read(dataset, H5T_NATIVE_INT, memory));
  EXPECT_EQ(values[0], 0);
  EXPECT_EQ(values[2], 0);
}

TEST_F(Hdf5DatasetTest, PartlySelectedVariableLengthDataAreEmptyElsewhere) {
  const Owned type = variableText();
  const Owned dataset = create(type, makeSpace({3}));
  write(dataset, type, makeSpace({3}), texts({"a", "b", "c"}));
  const Owned memory = partOf(3, 1, 1);
  EXPECT_THAT(textsOf(read(dataset, type, memory, memory.get())), ElementsAre("", "b", ""));
}

TEST_F(Hdf5DatasetTest, WrongCountsNameBothAndTheSelection) {
  const Value data = column<std::int32_t>({1, 2});
  const std::string text = writeRefusal("sizeMismatch", H5T_NATIVE_INT, partOf(4, 0, 2), data);
  EXPECT_THAT(text, HasSubstr("2 elements where 4 are needed"));
  EXPECT_THAT(text, HasSubstr("Of the memory space's 4 elements 2 are selected"));
  EXPECT_THAT(text, HasSubstr("pass a memory space of that size"));
  EXPECT_THAT(writeRefusal("sizeMismatch", H5T_NATIVE_INT, makeSpace({3}), data),
              testing::Not(HasSubstr("selected")));
}

TEST_F(Hdf5DatasetTest, WrongCountsAreNamedBeforeMemoryIsAskedFor) {
  const Owned space = makeSpace({0x1p50});
  for (const Owned& type : {fixedText(8), variableText(), sequenceOf(H5T_NATIVE_INT)}) {
    writeRefusal("sizeMismatch", type, space, texts({"a"}));
  }
  writeRefusal("sizeMismatch", compoundOf({{"a", H5T_NATIVE_INT}}), space,
               structure({{"a", column<std::int32_t>({1})}}));
}

TEST_F(Hdf5DatasetTest, SelectionsOfMoreThanTheExtentAreRefused) {
  const Owned space = partOf(5, 0, 5);
  const hsize_t shorter = 3;
  H5Sset_extent_simple(space.get(), 1, &shorter, nullptr);
  ASSERT_EQ(H5Sget_select_npoints(space.get()), 5);
  refusal("staleSelection", [&] { HDF5Dataset(H5T_NATIVE_INT, space.get()).getBuffer(); });
  refusal("staleSelection", [&] { HDF5Dataset(H5T_NATIVE_INT, space.get()).write(empty().get()); });
}

TEST_F(Hdf5DatasetTest, EmptyExtentsGiveEmptyArraysOfTheClass) {
  struct Case {
    Owned type;
    zbClass expected;
  };
  const Case cases[] = {{copyOf(H5T_STD_I16BE), zbClass::Int16},
                        {fixedText(3), zbClass::Char},
                        {variableText(), zbClass::Cell},
                        {sequenceOf(H5T_NATIVE_INT), zbClass::Cell},
                        {compoundOf({{"a", H5T_NATIVE_INT}}), zbClass::Struct},
                        {arrayOf(H5T_NATIVE_DOUBLE, {2}), zbClass::Double},
                        {copyOf(H5T_STD_REF_OBJ), zbClass::UInt8}};
  for (const auto& [type, expected] : cases) {
    for (const Owned& space : emptySpaces()) {
      const Owned dataset = create(type, space);
      const Value back = read(dataset, memoryType(type), space);
      EXPECT_EQ(classOf(back), expected);
      const bool compound = expected == zbClass::Struct;
      EXPECT_EQ((compound ? field(back, "a") : back).get()->elements, 0U);
      HDF5Dataset transfer(type.get(), space.get());
      EXPECT_NE(transfer.write(empty().get()), nullptr);
    }
  }
  if (hdf5::kSince187) {
    const Owned flat = makeSpace({3, 0});
    const Value shaped = read(create(H5T_NATIVE_INT, flat), H5T_NATIVE_INT, flat);
    EXPECT_EQ(shapeOf(shaped), (Shape{0, 3}));
  }
  writeRefusal("sizeMismatch", copyOf(H5T_NATIVE_INT), nullSpace(), column<std::int32_t>({1}));
}

TEST_F(Hdf5DatasetTest, SizesBeyondMemoryAreRefused) {
  constexpr double kLarge = 0x1p40;
  const auto wrapping = [] { HDF5Dataset(H5T_NATIVE_INT8, makeSpace({kLarge, kLarge}).get()); };
  refusal("tooLarge", wrapping);
  const auto bytes = [&] {
    const Owned space = makeSpace({0x1p62});
    HDF5Dataset transfer(H5T_NATIVE_DOUBLE, space.get());
    transfer.getBuffer();
  };
  refusal("tooLarge", bytes);
  const auto memory = [&] {
    const Owned space = makeSpace({0x1p59});
    HDF5Dataset transfer(H5T_NATIVE_DOUBLE, space.get());
    transfer.getBuffer();
  };
  EXPECT_THAT(refusal("outOfMemory", memory), HasSubstr("4611686018427387904"));
}

}  // namespace
