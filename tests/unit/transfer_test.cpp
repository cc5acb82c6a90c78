// Data of datasets, read and written through the gateway: datatypes, spaces, lists. How
// each HDF5 class becomes a host class is tested with the converter itself.
#include <gtest/gtest.h>

#include <cstdlib>
#include <utility>

#include "tests/unit/complaints.hpp"
#include "tests/unit/datatypes.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/transfers.hpp"

namespace {

using namespace h5test;

/// 1 to 12 in a dataset of 3 by 4: the host array has 4 rows and 3 columns.
class Transfer : public testing::Test {
 protected:
  Transfer() { H5Dwrite(dataset.get(), H5T_NATIVE_DOUBLE, 0, 0, 0, kContent.data()); }

  inline static const Numbers kContent = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  MemoryFile file;
  Owned space = makeSpace({3, 4});
  Owned dataset = makeDataset(file, "data", "H5T_NATIVE_DOUBLE", space);
};

/// Columns 1 and 2 of rows 0 and 2.
void selectCorners(const Owned& space) {
  call("H5Sselect_hyperslab", space, "H5S_SELECT_SET", row({0, 1}), row({2, 1}), row({2, 2}),
       empty());
}

// --- Inputs --------------------------------------------------------------------------

Input datasetInput() { return identifierInput(kNoIdentifier, "dataset identifier"); }
Input memoryTypeInput() {
  return {"H5T_NATIVE_INT",
          {{"H5ZB_DEFAULTS", "constantNotFound", {"H5ZB_DEFAULTS"}},
           {"H5ZB_DEFAUL", "constantNotFound", {"H5ZB_DEFAUL"}},
           {"h5zb_default", "constantNotFound", {"h5zb_default"}},
           {"", "constantNotFound", {""}},
           {true, "doubleHidtMismatch", {"memory type identifier"}},
           {cell({}), "doubleHidtMismatch", {"memory type identifier"}}}};
}
Input spaceInput(const char* key, const char* description) {
  return {kAll,
          {{"h5s_all", key, {}},
           {"H5S_ALL ", key, {}},
           {kDefault, key, {}},
           {"", key, {}},
           {true, "doubleHidtMismatch", {description}},
           {numeric(zbClass::Int64, {0}), "doubleHidtMismatch", {description}}}};
}
Input memorySpaceInput() {
  return spaceInput("memSpaceIdStringMatchFailure", "memory space identifier");
}
Input fileSpaceInput() {
  return spaceInput("noStringMatchForSpaceId", "file dataspace identifier");
}
Input transferListInput() {
  const char* description = "transfer property list identifier";
  return {
      kDefault,
      {{"H5P_DATASET_XFER_DEFAULT", "unmatchedString", {"H5P_DATASET_XFER_DEFAULT", description}},
       {numeric(zbClass::Int32, {0}), "badPropertyListDatatype", {description, "int32"}},
       {cell({}), "badPropertyListDatatype", {description, "cell"}}}};
}

TEST_F(Transfer, LooksAtItsInputsInOrder) {
  expectComplaints("H5Dread", {datasetInput(), memoryTypeInput(), memorySpaceInput(),
                               fileSpaceInput(), transferListInput()});
  // The memory datatype may be chosen for the data, and comes last.
  expectComplaints("H5Dwrite",
                   {datasetInput(), memoryTypeInput(), memorySpaceInput(), fileSpaceInput(),
                    transferListInput(), anyInput()},
                   {0, 2, 3, 4, 1});
}

TEST_F(Transfer, OfUnknownIdentifiersFails) {
  for (const double id : {kNoIdentifier, 0.0, -1.0, 1e10, file.id(), space.id()}) {
    expectLibraryError("H5Dread", id, kChosen, kAll, kAll, kDefault);
    expectLibraryError("H5Dread", id, "H5T_NATIVE_INT", kAll, kAll, kDefault);
    expectLibraryError("H5Dwrite", id, kChosen, kAll, kAll, kDefault, 1);
    expectLibraryError("H5Dwrite", id, "H5T_NATIVE_INT", kAll, kAll, kDefault, 1);
  }
  for (const double id : {kNoIdentifier, -1.0, file.id(), dataset.id()}) {
    expectLibraryError("H5Dread", dataset, kChosen, id, kAll, kDefault);
    expectLibraryError("H5Dread", dataset, kChosen, kAll, id, kDefault);
    expectLibraryError("H5Dread", dataset, kChosen, kAll, kAll, id);
    expectLibraryError("H5Dwrite", dataset, kChosen, id, kAll, kDefault, 1);
    expectLibraryError("H5Dwrite", dataset, kChosen, kAll, id, kDefault, 1);
    expectLibraryError("H5Dwrite", dataset, kChosen, kAll, kAll, id,
                       matrix(4, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
  }
}

TEST_F(Transfer, TakesIdentifiersAsObjects) {
  const Value all = identifier(0);
  const Value data = result("H5Dread", identifier(dataset.id()), kChosen, all, all, all);
  EXPECT_EQ(numbersOf(data), kContent);
}

// --- Memory datatypes ----------------------------------------------------------------

TEST_F(Transfer, ReadsInTheDatatypeThatSuitsTheFile) {
  const Value data = readAll(dataset);
  EXPECT_EQ(classOf(data), zbClass::Double);
  EXPECT_EQ(shapeOf(data), (Shape{4, 3}));
  EXPECT_EQ(numbersOf(data), kContent);
}

TEST_F(Transfer, ReadsInTheDatatypeThatIsNamedOrGiven) {
  const Owned given = copyOf(H5T_NATIVE_SHORT);
  for (const auto& [type, expected] : {std::pair(Argument("H5T_NATIVE_INT"), zbClass::Int32),
                                       {Argument("H5T_NATIVE_FLOAT"), zbClass::Single},
                                       {Argument(given), zbClass::Int16},
                                       {Argument(identifier(given.id())), zbClass::Int16}}) {
    const Value data = readAll(dataset, type);
    EXPECT_EQ(classOf(data), expected);
    EXPECT_EQ(numbersOf(data), kContent);
  }
}

TEST_F(Transfer, WritesTheArrayAsItIs) {
  const Owned integers = makeDataset(file, "integers", "H5T_STD_I16BE", makeSpace({3}));
  const Owned type = copyOf(H5T_NATIVE_INT);
  for (const zbClass classOfData :
       {zbClass::Double, zbClass::Single, zbClass::Int8, zbClass::UInt64}) {
    const Value data = numeric(classOfData, {1, 2, static_cast<double>(classOfData)});
    writeAll(integers, data);
    EXPECT_EQ(numbersOf(readAll(integers)), numbersOf(data));
  }
  writeAll(integers, numeric(zbClass::Int32, {-4, 5, 6}), type);
  EXPECT_EQ(numbersOf(readAll(integers)), (Numbers{-4, 5, 6}));
  writeAll(integers, numeric(zbClass::UInt8, {7, 8, 9}), "H5T_NATIVE_UCHAR");
  EXPECT_EQ(numbersOf(readAll(integers)), (Numbers{7, 8, 9}));
}

TEST_F(Transfer, LeavesWhatItWritesAsItWas) {
  const Value data = numeric(zbClass::Double, {1.5, -2.5, 1e300});
  const Owned integers = makeDataset(file, "integers", "H5T_STD_I16BE", makeSpace({3}));
  writeAll(integers, data);
  EXPECT_EQ(numbersOf(data), (Numbers{1.5, -2.5, 1e300}));
}

TEST_F(Transfer, ChecksIdentifiersButTrustsNames) {
  const Owned text = fixedText(8);
  expectRaises("badMemTypeClass", {"H5T_FLOAT"}, "H5Dread", dataset, text, kAll, kAll, kDefault);
  expectRaises("badMemTypeClass", {"H5T_FLOAT"}, "H5Dwrite", dataset, text, kAll, kAll, kDefault,
               1);
  expectRaises("badMemTypeClass", {"H5T_FLOAT"}, "H5Dread", dataset, kNoIdentifier, kAll, kAll,
               kDefault);
  // HDF5 finds no way from a number to text.
  expectLibraryError("H5Dread", dataset, "H5T_C_S1", kAll, kAll, kDefault);
  // Names of other things, 0 and class identifiers among them.
  for (const char* name : {"H5S_ALL", "H5T_STRING", "H5P_DATASET_XFER", "H5S_UNLIMITED"}) {
    EXPECT_TRUE(failureOf("H5Dread", {dataset, name, kAll, kAll, kDefault})) << name;
    EXPECT_TRUE(failureOf("H5Dwrite", {dataset, name, kAll, kAll, kDefault, 1})) << name;
  }
}

TEST_F(Transfer, RefusesArraysThatDoNotFit) {
  for (const Value& data : {row({1, 2, 3}), empty(), text("abcdefghijkl"), cell({number(1)}),
                            structure({{"a", number(1)}}), identifier(1)}) {
    expectHostError("H5Dwrite", dataset, kChosen, kAll, kAll, kDefault, data);
  }
  EXPECT_EQ(numbersOf(readAll(dataset)), kContent);
}

// --- Spaces --------------------------------------------------------------------------

TEST_F(Transfer, ReadsTheFileSelectionInItsPlaceByDefault) {
  selectCorners(space);
  const Value data = readFrom(dataset, kAll, space);
  EXPECT_EQ(shapeOf(data), (Shape{4, 3}));
  EXPECT_EQ(numbersOf(data), (Numbers{0, 2, 3, 0, 0, 0, 0, 0, 0, 10, 11, 0}));
}

TEST_F(Transfer, ReadsTheFileSelectionIntoAnotherSpace) {
  selectCorners(space);
  const Value data = readFrom(dataset, makeSpace({2, 2}), space);
  EXPECT_EQ(shapeOf(data), (Shape{2, 2}));
  EXPECT_EQ(numbersOf(data), (Numbers{2, 3, 10, 11}));
}

TEST_F(Transfer, ReadsTheWholeFileIntoAnotherSpace) {
  const Value data = readFrom(dataset, makeSpace({12}), kAll);
  EXPECT_EQ(shapeOf(data), (Shape{12, 1}));
  EXPECT_EQ(numbersOf(data), kContent);
}

TEST_F(Transfer, ReadsIntoASelection) {
  const Owned memory = makeSpace({6});
  call("H5Sselect_elements", memory, "H5S_SELECT_SET", row({5, 0}));
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({1, 1, 2, 3}));
  EXPECT_EQ(numbersOf(readFrom(dataset, memory, space)), (Numbers{12, 0, 0, 0, 0, 6}));
}

TEST_F(Transfer, WritesSelections) {
  const Value twelve = matrix(4, 3, {21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32});
  selectCorners(space);
  writeTo(dataset, kAll, space, twelve);
  EXPECT_EQ(numbersOf(readAll(dataset)), (Numbers{1, 22, 23, 4, 5, 6, 7, 8, 9, 30, 31, 12}));
  writeTo(dataset, makeSpace({4}), space, row({0, 0, 0, 0}));
  EXPECT_EQ(numbersOf(readAll(dataset)), (Numbers{1, 0, 0, 4, 5, 6, 7, 8, 9, 0, 0, 12}));
  writeTo(dataset, makeSpace({12}), kAll, twelve);
  EXPECT_EQ(numbersOf(readAll(dataset)), numbersOf(twelve));
  const Owned memory = makeSpace({3});
  call("H5Sselect_elements", memory, "H5S_SELECT_SET", 2);
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({0, 0}));
  writeTo(dataset, memory, space, row({7, 8, 9}));
  EXPECT_EQ(numbersOf(readAll(dataset))[0], 9);
}

TEST_F(Transfer, TakesMemoryPointsOfFewerDimensionsThanTheFile) {
  const Owned deep = makeDataset(file, "deep", "H5T_NATIVE_INT", makeSpace({2, 2, 2, 2}));
  const Owned fileSpace = makeSpace({2, 2, 2, 2});
  call("H5Sselect_elements", fileSpace, "H5S_SELECT_SET", row({0, 0, 0, 1, 0, 0, 0, 0}));
  for (const Owned& memory : {makeSpace({5}), makeSpace({1, 5}), makeSpace({1, 1, 5})}) {
    const double rank = callNumber("H5Sget_simple_extent_ndims", memory);
    Numbers points(2 * static_cast<std::size_t>(rank), 0);
    Numbers offset(static_cast<std::size_t>(rank), 0);
    points[points.size() / 2 - 1] = 2;
    points.back() = 1;
    call("H5Sselect_elements", memory, "H5S_SELECT_SET", row(points));
    const Value five = zembra::makeNumeric(zbClass::Double, {5}, Numbers{1, 2, 3, 4, 5}.data());
    writeTo(deep, memory, fileSpace, five);  // 3 and 2
    offset.back() = 2;
    call("H5Soffset_simple", memory, row(offset));
    EXPECT_EQ(numbersOf(readFrom(deep, memory, fileSpace)), (Numbers{0, 0, 0, 2, 3}));
  }
}

TEST_F(Transfer, LeavesTheSpacesThatItIsGiven) {
  selectCorners(space);
  const Owned memory = makeSpace({4});
  readFrom(dataset, memory, space);
  writeTo(dataset, memory, space, row({1, 2, 3, 4}));
  EXPECT_EQ(callNumber("H5Sget_select_npoints", space), 4);
  EXPECT_EQ(callNumber("H5Sget_select_npoints", memory), 4);
}

void expectRefusedSpaces(const Owned& dataset, const Argument& memory, const Argument& file,
                         const Value& data) {
  expectLibraryError("H5Dread", dataset, kChosen, memory.array, file.array, kDefault);
  expectLibraryError("H5Dwrite", dataset, kChosen, memory.array, file.array, kDefault, data);
}

TEST_F(Transfer, NeedsAsManyPointsInMemoryAsInTheFile) {
  expectRefusedSpaces(dataset, makeSpace({11}), kAll, row({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  selectCorners(space);
  expectRefusedSpaces(dataset, makeSpace({5}), space, row({1, 2, 3, 4, 5}));
  expectRefusedSpaces(dataset, scalarSpace(), space, number(1));
}

TEST_F(Transfer, StaysInsideOfItsSpaces) {
  const Owned two = makeSpace({2});
  const Owned memory = makeSpace({5});
  const Value five = row({1, 2, 3, 4, 5});
  // One past the end, far beyond, and moved there.
  for (const Value& points : {row({2, 5}), row({5, 2}), row({2, 1e15})}) {
    call("H5Sselect_elements", memory, "H5S_SELECT_SET", points);
    call("H5Sselect_hyperslab", space, "H5S_SELECT_SET", row({0, 0}), empty(), row({1, 2}),
         empty());
    expectRefusedSpaces(dataset, memory, space, five);
  }
  call("H5Sselect_hyperslab", memory, "H5S_SELECT_SET", 4, empty(), 2, empty());
  expectRefusedSpaces(dataset, memory, space, five);
  call("H5Sselect_hyperslab", memory, "H5S_SELECT_SET", 3, empty(), 2, empty());
  call("H5Soffset_simple", memory, 1);
  expectRefusedSpaces(dataset, memory, space, five);
  for (const Value& points : {row({0, 0, 3, 0}), row({0, 0, 0, 4})}) {
    call("H5Sselect_elements", space, "H5S_SELECT_SET", points);
    expectRefusedSpaces(dataset, two, space, row({1, 2}));
  }
  EXPECT_EQ(numbersOf(readAll(dataset)), kContent);
}

/// HDF5 would look for such a selection among the chunks for ever.
TEST_F(Transfer, OfChunksNeedsAFileSpaceOfTheirRank) {
  const Owned chunks =
      makeDataset(file, "chunks", "H5T_NATIVE_INT", makeSpace({2, 3}), chunked({2, 2}));
  writeAll(chunks, row({1, 2, 3, 4, 5, 6}));
  expectRefusedSpaces(chunks, kAll, scalarSpace(), number(1));
  expectRefusedSpaces(chunks, makeSpace({6}), makeSpace({6}), row({6, 5, 4, 3, 2, 1}));
  EXPECT_EQ(numbersOf(readAll(chunks)), (Numbers{1, 2, 3, 4, 5, 6}));
}

TEST_F(Transfer, WithANullMemorySpaceWritesNothing) {
  const Owned null = nullSpace();
  writeTo(dataset, null, kAll, empty());
  expectRaises("nullDatasetDataspace", {}, "H5Dwrite", dataset, kChosen, null, kAll, kDefault, 1);
  expectRaises("nullDatasetDataspace", {}, "H5Dwrite", dataset, kChosen, null, space, kDefault, 1);
  EXPECT_EQ(numbersOf(readAll(dataset)), kContent);
}

// --- Transfer lists ------------------------------------------------------------------

void* allocateOnRequest(size_t size, void* count) {
  ++*static_cast<int*>(count);
  return std::malloc(size);
}
void freeOnRequest(void* memory, void* /*count*/) { std::free(memory); }

TEST(TransferList, OfTheScriptKeepsItsVariableLengthMemoryManager) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "data", variableText(), makeSpace({2}));
  writeAll(dataset, cell({text("wind"), text("")}));
  int allocations = 0;
  const Owned list = makeList("H5P_DATASET_XFER");
  H5Pset_vlen_mem_manager(list.get(), allocateOnRequest, &allocations, freeOnRequest, nullptr);
  const Value texts = result("H5Dread", dataset, kChosen, kAll, kAll, list);
  EXPECT_EQ(textOf(element(texts, 0)), "wind");
  EXPECT_EQ(allocations, 0);
  H5MM_allocate_t allocate = nullptr;
  void* info = nullptr;
  H5Pget_vlen_mem_manager(list.get(), &allocate, &info, nullptr, nullptr);
  EXPECT_EQ(allocate, &allocateOnRequest);
  EXPECT_EQ(info, &allocations);
}

TEST_F(Transfer, NeedsAListAndNotAClass) {
  const Owned creation = makeList("H5P_DATASET_CREATE");
  const Value data = readAll(dataset);
  for (const Argument& list :
       {Argument("H5P_DATASET_XFER"), Argument("H5P_FILE_ACCESS"), Argument(creation)}) {
    expectLibraryError("H5Dread", dataset, kChosen, kAll, kAll, list);
    expectLibraryError("H5Dwrite", dataset, kChosen, kAll, kAll, list, data);
  }
}

TEST_F(Transfer, TakesTransferLists) {
  const Owned list = makeList("H5P_DATASET_XFER");
  for (const Argument& each : {Argument(list), Argument(identifier(list.id())), Argument(0)}) {
    const Value data = result("H5Dread", dataset, kChosen, kAll, kAll, each);
    EXPECT_EQ(numbersOf(data), kContent);
    call("H5Dwrite", dataset, kChosen, kAll, kAll, each, data);
  }
}

}  // namespace
