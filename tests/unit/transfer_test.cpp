// Data of datasets, read and written through the gateway: datatypes, spaces, lists,
// what is empty, and what goes wrong. How each HDF5 class becomes a host class is
// tested with the converter itself.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "hdf5/handle.hpp"
#include "tests/unit/complaints.hpp"
#include "tests/unit/owned.hpp"

namespace {

using namespace h5test;
using Numbers = std::vector<double>;

constexpr const char* kAll = "H5S_ALL";
constexpr const char* kChosen = "H5ZB_DEFAULT";
constexpr const char* kList = "H5P_DEFAULT";
constexpr double kNoIdentifier = 99;

Value readAll(const Argument& dataset, const Argument& type = kChosen) {
  return result("H5Dread", dataset.array, type.array, kAll, kAll, kList);
}
Value readFrom(const Argument& dataset, const Argument& memory, const Argument& file) {
  return result("H5Dread", dataset.array, kChosen, memory.array, file.array, kList);
}
void writeAll(const Argument& dataset, const Value& data, const Argument& type = kChosen) {
  EXPECT_TRUE(call("H5Dwrite", dataset.array, type.array, kAll, kAll, kList, data).empty());
}
void writeTo(const Argument& dataset, const Argument& memory, const Argument& file,
             const Value& data) {
  call("H5Dwrite", dataset.array, kChosen, memory.array, file.array, kList, data);
}

Owned makeDataset(const Argument& file, const Argument& type, const Argument& space,
                  const char* name = "data") {
  return make("H5Dcreate", file.array, name, type.array, space.array, kList);
}

/// 1 to 12 in a dataset of 3 by 4: the host array has 4 rows and 3 columns.
class Transfer : public testing::Test {
 protected:
  Transfer() { H5Dwrite(dataset.get(), H5T_NATIVE_DOUBLE, 0, 0, 0, kContent.data()); }

  inline static const Numbers kContent = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  MemoryFile file;
  Owned space = makeSpace({3, 4});
  Owned dataset = makeDataset(file, "H5T_NATIVE_DOUBLE", space);
};

/// Columns 1 and 2 of rows 0 and 2.
void selectCorners(const Owned& space) {
  call("H5Sselect_hyperslab", space, "H5S_SELECT_SET", row({0, 1}), row({2, 1}), row({2, 2}),
       empty());
}

Owned makeText(std::size_t size) {
  Owned type(H5Tcopy(H5T_C_S1));
  H5Tset_size(type.get(), size);
  return type;
}

// --- Inputs ------------------------------------------------------------------------------

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
           {kList, key, {}},
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
      kList,
      {{"H5P_DATASET_XFER_DEFAULT", "unmatchedString", {"H5P_DATASET_XFER_DEFAULT", description}},
       {numeric(zbClass::Int32, {0}), "badPropertyListDatatype", {description, "int32"}},
       {cell({}), "badPropertyListDatatype", {description, "cell"}}}};
}

TEST_F(Transfer, TakesExactCountsOfInputs) {
  expectWrongCounts("H5Dread", {0, 4, 6});
  expectWrongCounts("H5Dwrite", {0, 5, 7});
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
    expectLibraryError("H5Dread", id, kChosen, kAll, kAll, kList);
    expectLibraryError("H5Dread", id, "H5T_NATIVE_INT", kAll, kAll, kList);
    expectLibraryError("H5Dwrite", id, kChosen, kAll, kAll, kList, 1);
    expectLibraryError("H5Dwrite", id, "H5T_NATIVE_INT", kAll, kAll, kList, 1);
  }
  for (const double id : {kNoIdentifier, -1.0, file.id(), dataset.id()}) {
    expectLibraryError("H5Dread", dataset, kChosen, id, kAll, kList);
    expectLibraryError("H5Dread", dataset, kChosen, kAll, id, kList);
    expectLibraryError("H5Dread", dataset, kChosen, kAll, kAll, id);
    expectLibraryError("H5Dwrite", dataset, kChosen, id, kAll, kList, 1);
    expectLibraryError("H5Dwrite", dataset, kChosen, kAll, id, kList, 1);
    expectLibraryError("H5Dwrite", dataset, kChosen, kAll, kAll, id,
                       matrix(4, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
  }
}

TEST_F(Transfer, TakesIdentifiersAsObjects) {
  const Value all = identifier(0);
  const Value data = result("H5Dread", identifier(dataset.id()), kChosen, all, all, all);
  EXPECT_EQ(numbersOf(data), kContent);
}

// --- Memory datatypes ------------------------------------------------------------------------

TEST_F(Transfer, ReadsInTheDatatypeThatSuitsTheFile) {
  const Value data = readAll(dataset);
  EXPECT_EQ(classOf(data), zbClass::Double);
  EXPECT_EQ(shapeOf(data), (Shape{4, 3}));
  EXPECT_EQ(numbersOf(data), kContent);
}

TEST_F(Transfer, ReadsInTheDatatypeThatIsNamedOrGiven) {
  const Owned given(H5Tcopy(H5T_NATIVE_SHORT));
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
  const Owned integers = makeDataset(file, "H5T_STD_I16BE", makeSpace({3}), "integers");
  const Owned type(H5Tcopy(H5T_NATIVE_INT));
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
  const Owned integers = makeDataset(file, "H5T_STD_I16BE", makeSpace({3}), "integers");
  writeAll(integers, data);
  EXPECT_EQ(numbersOf(data), (Numbers{1.5, -2.5, 1e300}));
}

TEST_F(Transfer, ChecksIdentifiersButTrustsNames) {
  const Owned text = makeText(8);
  expectRaises("badMemTypeClass", {"H5T_FLOAT"}, "H5Dread", dataset, text, kAll, kAll, kList);
  expectRaises("badMemTypeClass", {"H5T_FLOAT"}, "H5Dwrite", dataset, text, kAll, kAll, kList, 1);
  expectRaises("badMemTypeClass", {"H5T_FLOAT"}, "H5Dread", dataset, kNoIdentifier, kAll, kAll,
               kList);
  // HDF5 finds no way from a number to text.
  expectLibraryError("H5Dread", dataset, "H5T_C_S1", kAll, kAll, kList);
  // Names of other things, 0 and class identifiers among them.
  for (const char* name : {"H5S_ALL", "H5T_STRING", "H5P_DATASET_XFER", "H5S_UNLIMITED"}) {
    EXPECT_TRUE(failureOf("H5Dread", {dataset, name, kAll, kAll, kList})) << name;
    EXPECT_TRUE(failureOf("H5Dwrite", {dataset, name, kAll, kAll, kList, 1})) << name;
  }
}

TEST_F(Transfer, RefusesArraysThatDoNotFit) {
  for (const Value& data : {row({1, 2, 3}), h5test::empty(), text("abcdefghijkl"),
                            cell({number(1)}), structure({{"a", number(1)}}), identifier(1)}) {
    const auto error = failureOf("H5Dwrite", {dataset, kChosen, kAll, kAll, kList, data});
    if (error) {
      EXPECT_EQ((*error)->identifier.substr(0, 12), "Zembra:host:") << error->what();
    }
  }
  EXPECT_EQ(numbersOf(readAll(dataset)), kContent);
}

// --- Spaces ------------------------------------------------------------------------------------

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

TEST_F(Transfer, TakesPointsOfFewerDimensionsThanTheFilesHas) {
  const Owned deep = makeDataset(file, "H5T_NATIVE_INT", makeSpace({2, 2, 2, 2}), "deep");
  const Owned fileSpace = makeSpace({2, 2, 2, 2});
  call("H5Sselect_elements", fileSpace, "H5S_SELECT_SET", row({0, 0, 0, 1, 0, 0, 0, 0}));
  for (const Owned& memory : {makeSpace({5}), makeSpace({1, 5}), makeSpace({1, 1, 5})}) {
    const double rank = callNumber("H5Sget_simple_extent_ndims", memory);
    Numbers points(2 * static_cast<std::size_t>(rank), 0);
    Numbers offset(static_cast<std::size_t>(rank), 0);
    points[points.size() / 2 - 1] = 2;
    points.back() = 1;
    call("H5Sselect_elements", memory, "H5S_SELECT_SET", zembra::makeRow(points));
    const Value five = zembra::makeNumeric(zbClass::Double, {5}, Numbers{1, 2, 3, 4, 5}.data());
    writeTo(deep, memory, fileSpace, five);  // 3 and 2
    offset.back() = 2;
    call("H5Soffset_simple", memory, zembra::makeRow(offset));
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
  expectLibraryError("H5Dread", dataset, kChosen, memory.array, file.array, kList);
  expectLibraryError("H5Dwrite", dataset, kChosen, memory.array, file.array, kList, data);
}

TEST_F(Transfer, NeedsAsManyPointsInMemoryAsInTheFile) {
  expectRefusedSpaces(dataset, makeSpace({11}), kAll, row({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  selectCorners(space);
  expectRefusedSpaces(dataset, makeSpace({5}), space, row({1, 2, 3, 4, 5}));
  expectRefusedSpaces(dataset, make("H5Screate", "H5S_SCALAR"), space, number(1));
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

// --- Nothing to transfer ---------------------------------------------------------------------

struct EmptyCase {
  std::function<hid_t()> type;
  zbClass expected;
};

hid_t variableText() {
  const hid_t type = H5Tcopy(H5T_C_S1);
  H5Tset_size(type, H5T_VARIABLE);
  return type;
}
hid_t pair() {
  const hid_t type = H5Tcreate(H5T_COMPOUND, 16);
  H5Tinsert(type, "a", 0, H5T_NATIVE_DOUBLE);
  H5Tinsert(type, "b", 8, H5T_NATIVE_DOUBLE);
  return type;
}
hid_t colour() {
  const hid_t type = H5Tenum_create(H5T_NATIVE_SHORT);
  const short red = 1;
  H5Tenum_insert(type, "red", &red);
  return type;
}

const std::vector<EmptyCase>& emptyCases() {
  static const hsize_t two[] = {2};
  static const std::vector<EmptyCase> all = {
      {[] { return H5Tcopy(H5T_IEEE_F64LE); }, zbClass::Double},
      {[] { return H5Tcopy(H5T_IEEE_F32LE); }, zbClass::Single},
      {[] { return H5Tcopy(H5T_STD_I8LE); }, zbClass::Int8},
      {[] { return H5Tcopy(H5T_STD_U8LE); }, zbClass::UInt8},
      {[] { return H5Tcopy(H5T_STD_I16BE); }, zbClass::Int16},
      {[] { return H5Tcopy(H5T_STD_U16LE); }, zbClass::UInt16},
      {[] { return H5Tcopy(H5T_STD_I32LE); }, zbClass::Int32},
      {[] { return H5Tcopy(H5T_STD_U32LE); }, zbClass::UInt32},
      {[] { return H5Tcopy(H5T_STD_I64LE); }, zbClass::Int64},
      {[] { return H5Tcopy(H5T_STD_U64LE); }, zbClass::UInt64},
      {[] { return H5Tcopy(H5T_STD_B16LE); }, zbClass::UInt16},
      {[] { return H5Tcopy(H5T_STD_REF_OBJ); }, zbClass::UInt8},
      {[] { return H5Tcreate(H5T_OPAQUE, 5); }, zbClass::UInt8},
      {[] { return H5Tcopy(H5T_C_S1); }, zbClass::Char},
      {variableText, zbClass::Cell},
      {[] { return H5Tvlen_create(H5T_NATIVE_INT); }, zbClass::Cell},
      {pair, zbClass::Struct},
      {colour, zbClass::Int16},
      {[] { return H5Tarray_create2(H5T_NATIVE_INT, 1, two); }, zbClass::Int32},
  };
  return all;
}

TEST(EmptyTransfer, GivesAnEmptyArrayOfTheClass) {
  const MemoryFile file;
  int count = 0;
  for (const EmptyCase& each : emptyCases()) {
    const Owned type(each.type());
    for (const Owned& space :
         {makeSpace({0}), makeSpace({3, 0}), makeSpace({0, 4, 2}), make("H5Screate", "H5S_NULL")}) {
      const std::string name = std::to_string(++count);
      const Owned dataset = makeDataset(file, type, space, name.c_str());
      const Value data = readAll(dataset);
      EXPECT_EQ(shapeOf(data), (Shape{0, 0})) << zembra::describe(data.get());
      EXPECT_TRUE(classOf(data) == each.expected) << zembra::describe(data.get());
      EXPECT_EQ(zbGetField(data.get(), 0, "a"), nullptr);
    }
  }
}

TEST(EmptyTransfer, DependsOnTheExtentAndNotOnTheSelection) {
  const MemoryFile file;
  const Owned space = makeSpace({2, 3});
  const Owned dataset = makeDataset(file, "H5T_NATIVE_INT", space);
  call("H5Sselect_none", space);
  EXPECT_EQ(numbersOf(readFrom(dataset, kAll, space)), Numbers(6, 0));
  const Owned null = make("H5Screate", "H5S_NULL");
  EXPECT_EQ(shapeOf(readFrom(dataset, null, space)), (Shape{0, 0}));
}

TEST(EmptyTransfer, NeedsTheSameNumberOfPointsAllTheSame) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "H5T_NATIVE_INT", makeSpace({0}));
  expectLibraryError("H5Dread", dataset, kChosen, makeSpace({3}), kAll, kList);
}

TEST(EmptyTransfer, WritesNothingIntoNothing) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "H5T_NATIVE_INT", makeSpace({0}));
  writeAll(dataset, h5test::empty());
  EXPECT_EQ(classOf(readAll(dataset)), zbClass::Int32);
}

TEST(NullTransfer, WritesEmptyArraysOfAnyClassQuietly) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "H5T_NATIVE_INT", make("H5Screate", "H5S_NULL"));
  const Owned type(H5Tcopy(H5T_NATIVE_INT));
  for (const Value& nothing : {h5test::empty(), numeric(zbClass::Int8, {}), text(""), cell({})}) {
    for (const Argument& memoryType :
         {Argument(kChosen), Argument("H5T_NATIVE_DOUBLE"), Argument(type)}) {
      writeAll(dataset, nothing, memoryType);
    }
  }
}

TEST(NullTransfer, RaisesForAnythingElse) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "H5T_NATIVE_INT", make("H5Screate", "H5S_NULL"));
  const Owned type(H5Tcopy(H5T_NATIVE_INT));
  for (const Argument& memoryType :
       {Argument(kChosen), Argument("H5T_NATIVE_DOUBLE"), Argument(type)}) {
    expectRaises("nullDatasetDataspace", {}, "H5Dwrite", dataset, memoryType, kAll, kAll, kList, 1);
  }
  for (const Value& data : {text("a"), cell({number(1)}), structure({}), row({1, 2})}) {
    expectRaises("nullDatasetDataspace", {}, "H5Dwrite", dataset, type, kAll, kAll, kList, data);
  }
}

TEST_F(Transfer, WithANullMemorySpaceWritesNothing) {
  const Owned null = make("H5Screate", "H5S_NULL");
  writeTo(dataset, null, kAll, h5test::empty());
  expectRaises("nullDatasetDataspace", {}, "H5Dwrite", dataset, kChosen, null, kAll, kList, 1);
  expectRaises("nullDatasetDataspace", {}, "H5Dwrite", dataset, kChosen, null, space, kList, 1);
  EXPECT_EQ(numbersOf(readAll(dataset)), kContent);
}

// --- Transfer lists --------------------------------------------------------------------------

void* allocateOnRequest(size_t size, void* count) {
  ++*static_cast<int*>(count);
  return std::malloc(size);
}
void freeOnRequest(void* memory, void* /*count*/) { std::free(memory); }

TEST(TransferList, OfTheScriptKeepsItsVariableLengthMemoryManager) {
  const MemoryFile file;
  const Owned type(variableText());
  const Owned dataset = makeDataset(file, type, makeSpace({2}));
  writeAll(dataset, cell({text("wind"), text("")}));
  int allocations = 0;
  const Owned list(H5Pcreate(H5P_DATASET_XFER));
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
  const Owned creation(H5Pcreate(H5P_DATASET_CREATE));
  const Value data = readAll(dataset);
  for (const Argument& list :
       {Argument("H5P_DATASET_XFER"), Argument("H5P_FILE_ACCESS"), Argument(creation)}) {
    expectLibraryError("H5Dread", dataset, kChosen, kAll, kAll, list);
    expectLibraryError("H5Dwrite", dataset, kChosen, kAll, kAll, list, data);
  }
}

TEST_F(Transfer, TakesTransferLists) {
  const Owned list(H5Pcreate(H5P_DATASET_XFER));
  for (const Argument& each : {Argument(list), Argument(identifier(list.id())), Argument(0)}) {
    const Value data = result("H5Dread", dataset, kChosen, kAll, kAll, each);
    EXPECT_EQ(numbersOf(data), kContent);
    call("H5Dwrite", dataset, kChosen, kAll, kAll, each, data);
  }
}

// --- Files on disk, whole and broken -------------------------------------------------------------

/// A file with a checksummed dataset of 1000 bytes that count from 0, and what its
/// chunk looks like.
class DiskFile {
 public:
  DiskFile() : path_(temporaryPath("data.h5")) {
    const Owned file(H5Fcreate(path_.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
    const Owned list(H5Pcreate(H5P_DATASET_CREATE));
    const hsize_t chunk[] = {1000};
    H5Pset_chunk(list.get(), 1, chunk);
    H5Pset_fletcher32(list.get());
    const Owned dataset = make("H5Dcreate", file, "data", "H5T_STD_U8LE", makeSpace({1000}), list);
    for (int i = 0; i < 1000; ++i) content_.push_back(static_cast<char>(i));
    H5Dwrite(dataset.get(), H5T_NATIVE_UCHAR, H5S_ALL, H5S_ALL, H5P_DEFAULT, content_.data());
  }

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string bytes() const {
    std::ifstream stream(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  void overwrite(const std::string& bytes) const {
    std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
  }
  /// Spoils a byte of the dataset's values.
  void spoilData() const {
    std::string whole = bytes();
    const std::size_t place = whole.find(content_);
    ASSERT_NE(place, std::string::npos);
    whole[place + 500] ^= 1;
    overwrite(whole);
  }
  [[nodiscard]] Owned open() const { return make("H5Fopen", path_, "H5F_ACC_RDONLY", kList); }

 private:
  std::string path_;
  std::string content_;
};

void expectStack(const std::shared_ptr<const zembra::HostError>& error) {
  ASSERT_TRUE(error);
  EXPECT_TRUE((*error)->libraryFailure) << error->what();
  EXPECT_FALSE((*error)->stack.empty()) << error->what();
}

TEST(BrokenFile, WithASpoiledChunkIsALibraryErrorUnlessTheListAllowsIt) {
  const DiskFile disk;
  disk.spoilData();
  const Owned file = disk.open();
  const Owned dataset = make("H5Dopen", file, "data");
  expectStack(failureOf("H5Dread", {dataset, kChosen, kAll, kAll, kList}));
  const Owned list(H5Pcreate(H5P_DATASET_XFER));
  expectStack(failureOf("H5Dread", {dataset, kChosen, kAll, kAll, list}));
  H5Pset_edc_check(list.get(), H5Z_DISABLE_EDC);
  EXPECT_EQ(numbersOf(result("H5Dread", dataset, kChosen, kAll, kAll, list))[501], 501 % 256);
}

TEST(BrokenFile, OfAnyLengthIsALibraryError) {
  const DiskFile disk;
  const std::string whole = disk.bytes();
  for (std::size_t length = 0; length < whole.size(); length += 97) {
    disk.overwrite(whole.substr(0, length));
    expectStack(failureOf("H5Fopen", {disk.path(), "H5F_ACC_RDONLY", kList}));
  }
  disk.overwrite(whole);
  EXPECT_EQ(numbersOf(readAll(make("H5Dopen", disk.open(), "data"))).size(), 1000U);
}

TEST(BrokenFile, ThatIsNoneOfHdf5sIsALibraryError) {
  const DiskFile disk;
  std::string whole = disk.bytes();
  whole[1] = 'h';
  for (const std::string& bytes :
       {std::string(5000, 'x'), whole, std::string("wind,speed\n1,2\n")}) {
    disk.overwrite(bytes);
    expectStack(failureOf("H5Fopen", {disk.path(), "H5F_ACC_RDONLY", kList}));
  }
  std::filesystem::remove(disk.path());
  expectStack(failureOf("H5Fopen", {disk.path(), "H5F_ACC_RDONLY", kList}));
}

TEST(BrokenFile, OpenForReadingTakesNoData) {
  const DiskFile disk;
  const Owned file = disk.open();
  const Owned dataset = make("H5Dopen", file, "data");
  expectStack(failureOf("H5Dwrite",
                        {dataset, kChosen, kAll, kAll, kList, zembra::makeRow(Numbers(1000, 1))}));
}

// --- Failures ------------------------------------------------------------------------------------

herr_t collectDescriptions(unsigned /*position*/, const H5E_error2_t* record, void* data) noexcept {
  static_cast<std::vector<std::string>*>(data)->push_back(record->desc);
  return 0;
}

TEST(FailedTransfer, LeavesHdf5sStackAndNoIdentifiers) {
  const DiskFile disk;
  disk.spoilData();
  const Owned file = disk.open();
  const Owned dataset = make("H5Dopen", file, "data");
  const std::size_t before = openIdentifiers();
  const Owned space = makeSpace({1000});
  const std::vector<Arguments> calls = {{dataset, kChosen, kAll, kAll, kList},
                                        {dataset, "H5T_NATIVE_INT", space, space, kList},
                                        {dataset, kChosen, kAll, kAll, "H5P_DATASET_XFER"},
                                        {dataset, kChosen, makeSpace({7}), kAll, kList}};
  for (const Arguments& arguments : calls) {
    const auto error = failureOf("H5Dread", arguments);
    std::vector<std::string> descriptions;
    H5Ewalk2(H5E_DEFAULT, H5E_WALK_UPWARD, collectDescriptions, &descriptions);
    expectStack(error);
    ASSERT_EQ(descriptions.size(), (*error)->stack.size());
    for (std::size_t i = 0; i < descriptions.size(); ++i) {
      EXPECT_EQ(descriptions[i], (*error)->stack[i].description);
    }
  }
  EXPECT_EQ(openIdentifiers(), before + 1);
}

TEST(FailedTransfer, LeavesTheStackOfAWriteToo) {
  const DiskFile disk;
  const Owned file = disk.open();
  const Owned dataset = make("H5Dopen", file, "data");
  const auto error = failureOf(
      "H5Dwrite", {dataset, kChosen, kAll, kAll, kList, zembra::makeRow(Numbers(1000, 1))});
  EXPECT_EQ(H5Eget_num(H5E_DEFAULT), static_cast<ssize_t>((*error)->stack.size()));
  expectStack(error);
}

TEST(FailedTransfer, IsAnErrorWhereMemoryCannotHoldTheData) {
  const MemoryFile file;
  const Owned list(H5Pcreate(H5P_DATASET_CREATE));
  const hsize_t chunk[] = {1, 1, 1};
  H5Pset_chunk(list.get(), 3, chunk);
  int count = 0;
  // Counts that wrap around, bytes that do, and bytes that no machine has.
  for (const Value& extent : {row({4294967296, 2147483648, 2}), row({2147483648, 1073741824, 1}),
                              row({4294967296, 262144, 1})}) {
    const Owned space = make("H5Screate_simple", 3, extent, empty());
    const Owned dataset =
        make("H5Dcreate", file, std::to_string(++count), "H5T_NATIVE_DOUBLE", space, list);
    for (const char* type : {kChosen, "H5T_NATIVE_DOUBLE"}) {
      const auto error = failureOf("H5Dread", {dataset, type, kAll, kAll, kList});
      if (error) {
        EXPECT_EQ((*error)->identifier.substr(0, 12), "Zembra:host:") << error->what();
      }
      EXPECT_TRUE(failureOf("H5Dwrite", {dataset, type, kAll, kAll, kList, 1}));
    }
  }
}

TEST(FailedTransfer, OfSomeElementsOfAnImmenseDatasetIsNone) {
  const MemoryFile file;
  const Owned list(H5Pcreate(H5P_DATASET_CREATE));
  const hsize_t chunk[] = {1, 1};
  H5Pset_chunk(list.get(), 2, chunk);
  const Owned space = makeSpace({4294967296, 1073741824});
  const Owned dataset = make("H5Dcreate", file, "data", "H5T_NATIVE_INT", space, list);
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({4294967295, 1073741823, 5, 5}));
  const Owned memory = makeSpace({2});
  writeTo(dataset, memory, space, row({3, 4}));
  EXPECT_EQ(numbersOf(readFrom(dataset, memory, space)), (Numbers{3, 4}));
}

}  // namespace
