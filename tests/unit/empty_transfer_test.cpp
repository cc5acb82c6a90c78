// Reading and writing where there is nothing to transfer.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/unit/datatypes.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/transfers.hpp"

namespace {

using namespace h5test;

struct EmptyCase {
  Owned type;
  zbClass expected;
};

std::vector<EmptyCase> emptyCases() {
  std::vector<EmptyCase> cases;
  for (const auto& [type, expected] : {std::pair(H5T_IEEE_F64LE, zbClass::Double),
                                       {H5T_IEEE_F32LE, zbClass::Single},
                                       {H5T_STD_I8LE, zbClass::Int8},
                                       {H5T_STD_U8LE, zbClass::UInt8},
                                       {H5T_STD_I16BE, zbClass::Int16},
                                       {H5T_STD_U16LE, zbClass::UInt16},
                                       {H5T_STD_I32LE, zbClass::Int32},
                                       {H5T_STD_U32LE, zbClass::UInt32},
                                       {H5T_STD_I64LE, zbClass::Int64},
                                       {H5T_STD_U64LE, zbClass::UInt64},
                                       {H5T_STD_B16LE, zbClass::UInt16},
                                       {H5T_STD_REF_OBJ, zbClass::UInt8},
                                       {H5T_C_S1, zbClass::Char}}) {
    cases.push_back({copyOf(type), expected});
  }
  cases.push_back({opaque(5), zbClass::UInt8});
  cases.push_back({variableText(), zbClass::Cell});
  cases.push_back({sequenceOf(H5T_NATIVE_INT), zbClass::Cell});
  cases.push_back(
      {compoundOf({{"a", H5T_NATIVE_DOUBLE}, {"b", H5T_NATIVE_DOUBLE}}), zbClass::Struct});
  cases.push_back({enumeration({"red"}, H5T_NATIVE_SHORT), zbClass::Int16});
  cases.push_back({arrayOf(H5T_NATIVE_INT, {2}), zbClass::Int32});
  return cases;
}

TEST(EmptyTransfer, GivesAnEmptyArrayOfTheClass) {
  const MemoryFile file;
  int count = 0;
  for (const auto& [type, expected] : emptyCases()) {
    for (const Owned& space : emptySpaces()) {
      const Owned dataset = makeDataset(file, std::to_string(++count), type, space);
      const Value data = readAll(dataset);
      EXPECT_EQ(shapeOf(data), (Shape{0, 0})) << zembra::describe(data.get());
      EXPECT_TRUE(classOf(data) == expected) << zembra::describe(data.get());
      EXPECT_EQ(zbGetField(data.get(), 0, "a"), nullptr);
    }
  }
}

TEST(EmptyTransfer, DependsOnTheExtentAndNotOnTheSelection) {
  const MemoryFile file;
  const Owned space = makeSpace({2, 3});
  const Owned dataset = makeDataset(file, "data", "H5T_NATIVE_INT", space);
  call("H5Sselect_none", space);
  EXPECT_EQ(numbersOf(readFrom(dataset, kAll, space)), Numbers(6, 0));
  const Owned null = nullSpace();
  EXPECT_EQ(shapeOf(readFrom(dataset, null, space)), (Shape{0, 0}));
}

TEST(EmptyTransfer, NeedsAsManyPointsInMemoryAsInTheFile) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "data", "H5T_NATIVE_INT", emptySpace());
  expectLibraryError("H5Dread", dataset, kChosen, makeSpace({3}), kAll, kDefault);
}

TEST(EmptyTransfer, WritesNothingIntoNothing) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "data", "H5T_NATIVE_INT", emptySpace());
  writeAll(dataset, empty());
  EXPECT_EQ(classOf(readAll(dataset)), zbClass::Int32);
}

TEST(NullTransfer, WritesEmptyArraysOfAnyClassQuietly) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "data", "H5T_NATIVE_INT", nullSpace());
  const Owned type = copyOf(H5T_NATIVE_INT);
  for (const Value& nothing : {empty(), numeric(zbClass::Int8, {}), text(""), cell({})}) {
    for (const Argument& memoryType :
         {Argument(kChosen), Argument("H5T_NATIVE_DOUBLE"), Argument(type)}) {
      writeAll(dataset, nothing, memoryType);
    }
  }
}

TEST(NullTransfer, RaisesForAnythingElse) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "data", "H5T_NATIVE_INT", nullSpace());
  const Owned type = copyOf(H5T_NATIVE_INT);
  for (const Argument& memoryType :
       {Argument(kChosen), Argument("H5T_NATIVE_DOUBLE"), Argument(type)}) {
    expectRaises("nullDatasetDataspace", {}, "H5Dwrite", dataset, memoryType, kAll, kAll, kDefault,
                 1);
  }
  for (const Value& data : {text("a"), cell({number(1)}), structure({}), row({1, 2})}) {
    expectRaises("nullDatasetDataspace", {}, "H5Dwrite", dataset, type, kAll, kAll, kDefault, data);
  }
}

}  // namespace
