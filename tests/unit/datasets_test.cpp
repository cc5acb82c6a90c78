// Datasets, but for the data in them: making, opening, asking, resizing, and filling
// host buffers.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/unit/complaints.hpp"
#include "tests/unit/datatypes.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"

namespace {

using namespace h5test;

/// 4 by 6 that can grow without bounds, in chunks of 2 by 3.
Owned makeGrowing(const MemoryFile& file) {
  return makeDataset(file, "data", "H5T_NATIVE_DOUBLE", makeSpace({4, 6}, row({-1, -1})),
                     chunked({2, 3}));
}

Numbers extentOf(const Owned& dataset) {
  return numbersOf(call("H5Sget_simple_extent_dims", make("H5Dget_space", dataset))[1]);
}

// --- Inputs --------------------------------------------------------------------------

Input id(const char* description) { return identifierInput(kNoIdentifier, description); }

Input datatypeInput() {
  return {"H5T_NATIVE_INT",
          {{"H5T_NATIVE_NOTHING", "constantNotFound", {"H5T_NATIVE_NOTHING"}},
           {true, "doubleDatatypeHidtMismatch", {"datatype identifier"}}}};
}

TEST(Datasets, ComplainFromLeftToRight) {
  for (const char* name :
       {"H5Dclose", "H5Dget_access_plist", "H5Dget_create_plist", "H5Dget_offset", "H5Dget_space",
        "H5Dget_space_status", "H5Dget_storage_size", "H5Dget_type"}) {
    expectComplaints(name, {id("dataset identifier")});
  }
  expectComplaints("H5Dcreate",
                   {id("location identifier"), textInput("dataset name"), datatypeInput(),
                    id("dataspace identifier"), id("dataset creation property list")});
  expectComplaints("H5Dcreate",
                   {id("location identifier"), textInput("dataset name"), datatypeInput(),
                    id("dataspace identifier"), id("link creation property list"),
                    id("dataset creation property list"), id("dataset access property list")});
  expectComplaints("H5Dopen", {id("location identifier"), textInput("dataset name")});
  expectComplaints("H5Dopen", {id("location identifier"), textInput("dataset name"),
                               id("dataset access property list")});
  expectComplaints("H5Dvlen_get_buf_size", {id("dataset identifier"), id("datatype identifier"),
                                            id("dataspace identifier")});
  const Input extent = {1, {{kNaN, "numericCastError", {}}}};
  expectComplaints("H5Dextend", {id("dataset identifier"), extent});
  expectComplaints("H5Dset_extent", {id("dataset identifier"), extent});
}

TEST(Fill, ReadsItsIdentifiersBeforeItLooksAtTheBuffer) {
  const Input buffer = {1, {{1, "failureToRetrieveDataspaceNdims", {}}}};
  expectComplaints("H5Dfill",
                   {anyInput(), id("fill type identifier"), buffer,
                    id("fill buffer type identifier"), id("fill dataspace identifier")},
                   {1, 3, 4, 2});
}

TEST(Datasets, TakeTheDefaultListAndNoOtherNameForAnIdentifier) {
  const MemoryFile file;
  const Owned space = makeSpace({3});
  expectRaises("unmatchedHidtString", {"H5S_ALL", "dataspace identifier"}, "H5Dcreate", file, "d",
               "H5T_NATIVE_INT", "H5S_ALL", kDefault);
  // Property lists are identifiers here, not classes by name.
  expectRaises("unmatchedHidtString", {"H5P_DATASET_CREATE", "dataset creation property list"},
               "H5Dcreate", file, "d", "H5T_NATIVE_INT", space, "H5P_DATASET_CREATE");
  expectRaises("unmatchedHidtString", {"H5T_NATIVE_INT", "datatype identifier"},
               "H5Dvlen_get_buf_size", 0, "H5T_NATIVE_INT", 0);
}

TEST(Datasets, ThatHdf5DoesNotKnowFail) {
  for (const char* name : {"H5Dclose", "H5Dget_access_plist", "H5Dget_create_plist",
                           "H5Dget_offset", "H5Dget_space", "H5Dget_space_status", "H5Dget_type"}) {
    expectLibraryError(name, kNoIdentifier);
    expectLibraryError(name, kDefault);
  }
  expectLibraryError("H5Dopen", kNoIdentifier, "d");
  expectLibraryError("H5Dopen", kNoIdentifier, "d", kDefault);
  expectLibraryError("H5Dvlen_get_buf_size", kNoIdentifier, 0, 0);
  for (const char* name : {"H5Dextend", "H5Dset_extent"}) {
    expectLibraryError(name, kNoIdentifier, row({1, 2}));
    expectLibraryError(name, kNoIdentifier, empty());
  }
}

// --- Making and opening --------------------------------------------------------------

TEST(Datasets, AreMadeOfNamedAndOfOtherDatatypes) {
  const MemoryFile file;
  const Owned space = makeSpace({3});
  const Owned copy = copyOf(H5T_STD_I16BE);
  int count = 0;
  for (const Argument& type : {Argument("H5T_STD_I16BE"), Argument(copy)}) {
    const Owned dataset = make("H5Dcreate", file, std::to_string(++count), type, space, kDefault);
    const Owned made = make("H5Dget_type", dataset);
    EXPECT_GT(H5Tequal(made.get(), H5T_STD_I16BE), 0);
  }
  expectLibraryError("H5Dcreate", file, "d", "H5S_ALL", space, kDefault);  // a name that is 0
}

TEST(Datasets, AreMadeInTheShortFormWithACreationList) {
  const MemoryFile file;
  const Owned dataset =
      make("H5Dcreate", file, "d", "H5T_NATIVE_INT", makeSpace({4, 6}), chunked({2, 3}));
  hsize_t chunk[2] = {};
  H5Pget_chunk(make("H5Dget_create_plist", dataset).get(), 2, chunk);
  EXPECT_EQ(chunk[0], 2U);
  EXPECT_EQ(chunk[1], 3U);
}

TEST(Datasets, AreMadeInTheLongFormWithThreeLists) {
  const MemoryFile file;
  const Owned links = makeList("H5P_LINK_CREATE");
  H5Pset_create_intermediate_group(links.get(), 1);
  const Owned access = makeList("H5P_DATASET_ACCESS");
  H5Pset_chunk_cache(access.get(), 101, 4096, 0.5);
  const Owned dataset = make("H5Dcreate", file, "a/b/d", "H5T_NATIVE_INT", makeSpace({4, 6}), links,
                             chunked({2, 3}), access);
  EXPECT_EQ(H5Pget_layout(make("H5Dget_create_plist", dataset).get()), H5D_CHUNKED);
  std::size_t slots = 0;
  H5Pget_chunk_cache(make("H5Dget_access_plist", dataset).get(), &slots, nullptr, nullptr);
  EXPECT_EQ(slots, 101U);
  expectLibraryError("H5Dcreate", file, "c/d", "H5T_NATIVE_INT", makeSpace({1}), kDefault);
}

TEST(Datasets, AreOpenedInBothForms) {
  const MemoryFile file;
  makeGrowing(file);
  const Owned access = makeList("H5P_DATASET_ACCESS");
  H5Pset_chunk_cache(access.get(), 101, 4096, 0.5);
  std::size_t slots = 0;
  {
    const Owned withList = make("H5Dopen", file, "data", access);
    H5Pget_chunk_cache(make("H5Dget_access_plist", withList).get(), &slots, nullptr, nullptr);
    EXPECT_EQ(slots, 101U);
  }
  EXPECT_EQ(extentOf(make("H5Dopen", file, "data")), (Numbers{4, 6}));
  EXPECT_EQ(extentOf(make("H5Dopen", file, "data", kDefault)), (Numbers{4, 6}));
}

TEST(Datasets, OfUnknownOrTakenNamesFail) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "data", "H5T_NATIVE_DOUBLE", makeSpace({1}));
  expectLibraryError("H5Dopen", file, "other");
  expectLibraryError("H5Dopen", file, "");
  expectLibraryError("H5Dcreate", file, "data", "H5T_NATIVE_INT", makeSpace({1}), kDefault);
  expectLibraryError("H5Dcreate", file, "", "H5T_NATIVE_INT", makeSpace({1}), kDefault);
}

TEST(Datasets, CloseOnce) {
  const MemoryFile file;
  const double dataset =
      callNumber("H5Dcreate", file, "d", "H5T_NATIVE_INT", makeSpace({1}), kDefault);
  EXPECT_TRUE(call("H5Dclose", dataset).empty());
  expectLibraryError("H5Dclose", dataset);
}

// --- Asking --------------------------------------------------------------------------

TEST(Datasets, GiveTheirStorageByNumber) {
  const MemoryFile file;
  const Owned dataset = makeGrowing(file);
  EXPECT_EQ(callNumber("H5Dget_space_status", dataset), H5D_SPACE_STATUS_NOT_ALLOCATED);
  EXPECT_EQ(callNumber("H5Dget_storage_size", dataset), 0);
  const double values[24] = {};
  H5Dwrite(dataset.get(), H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values);
  EXPECT_EQ(callNumber("H5Dget_space_status", dataset), H5D_SPACE_STATUS_ALLOCATED);
  EXPECT_EQ(callNumber("H5Dget_storage_size", dataset), sizeof values);
}

TEST(Datasets, ThatDoNotExistHaveNoStorage) {
  EXPECT_EQ(callNumber("H5Dget_storage_size", kNoIdentifier), 0);
  EXPECT_EQ(callNumber("H5Dget_storage_size", kDefault), 0);
}

TEST(Datasets, HaveAnOffsetWhenTheyAreContiguous) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "data", "H5T_NATIVE_DOUBLE", makeSpace({3}));
  expectLibraryError("H5Dget_offset", dataset);  // nothing is allocated yet
  const double values[3] = {};
  H5Dwrite(dataset.get(), H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values);
  EXPECT_GT(callNumber("H5Dget_offset", dataset), 0);
  EXPECT_EQ(callNumber("H5Dget_offset", dataset),
            static_cast<double>(H5Dget_offset(dataset.get())));
}

TEST(Datasets, HaveNoOffsetWhenTheyAreChunked) {
  const MemoryFile file;
  const Owned dataset = makeGrowing(file);
  const double values[24] = {};
  H5Dwrite(dataset.get(), H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values);
  expectLibraryError("H5Dget_offset", dataset);
}

TEST(Datasets, TellTheSizeOfVariableLengthData) {
  const MemoryFile file;
  const Owned type = sequenceOf(H5T_NATIVE_INT);
  const Owned space = makeSpace({3});
  const Owned dataset = makeDataset(file, "data", type, space);
  int elements[] = {1, 2, 3, 4, 5};
  const hvl_t sequences[] = {{2, elements}, {0, nullptr}, {5, elements}};
  H5Dwrite(dataset.get(), type.get(), H5S_ALL, H5S_ALL, H5P_DEFAULT, sequences);
  EXPECT_EQ(callNumber("H5Dvlen_get_buf_size", dataset, type, space), 7 * sizeof(int));
  call("H5Sselect_elements", space, "H5S_SELECT_SET", 2);
  EXPECT_EQ(callNumber("H5Dvlen_get_buf_size", dataset, type, space), 5 * sizeof(int));
  expectLibraryError("H5Dvlen_get_buf_size", dataset, kNoIdentifier, space);
  expectLibraryError("H5Dvlen_get_buf_size", dataset, type, kNoIdentifier);
}

// --- Extents -------------------------------------------------------------------------

TEST(Extents, AreTakenInHdf5sOrderFromAnyShapeAndNumericClass) {
  for (const Value& extent :
       {row({10, 20}), column({10, 20}), row({10.9, 20.9}), row({10, 20, 30}),
        numeric(zbClass::Int32, {10, 20}), numeric(zbClass::UInt64, {10, 20}),
        numeric(zbClass::Single, {10, 20}), numeric(zbClass::Int8, {10, 20})}) {
    for (const char* name : {"H5Dset_extent", "H5Dextend"}) {
      const MemoryFile file;
      const Owned dataset = makeGrowing(file);
      EXPECT_TRUE(call(name, dataset, extent).empty());
      EXPECT_EQ(extentOf(dataset), (Numbers{10, 20})) << name;
    }
  }
}

TEST(Extents, ShrinkWhereTheyAreSetButNotWhereTheyAreExtended) {
  const MemoryFile file;
  const Owned dataset = makeGrowing(file);
  call("H5Dextend", dataset, row({2, 9}));  // which only grows
  EXPECT_EQ(extentOf(dataset), (Numbers{4, 9}));
  call("H5Dset_extent", dataset, row({2, 3}));
  EXPECT_EQ(extentOf(dataset), (Numbers{2, 3}));
  call("H5Dset_extent", dataset, row({-0.5, 3}));
  EXPECT_EQ(extentOf(dataset), (Numbers{0, 3}));
  call("H5Dset_extent", dataset, logical(true));
  EXPECT_EQ(extentOf(dataset), (Numbers{1, 3}));
}

TEST(Extents, OfDimensionsThatAreLeftOutStayAsTheyAre) {
  const MemoryFile file;
  const Owned dataset = makeGrowing(file);
  call("H5Dset_extent", dataset, 2);
  EXPECT_EQ(extentOf(dataset), (Numbers{2, 6}));
  call("H5Dextend", dataset, 5);
  EXPECT_EQ(extentOf(dataset), (Numbers{5, 6}));
}

TEST(Extents, MayHaveMoreElementsThanHdf5HasDimensions) {
  const MemoryFile file;
  const Owned dataset = makeGrowing(file);
  call("H5Dset_extent", dataset, row(Numbers(50, 7)));
  EXPECT_EQ(extentOf(dataset), (Numbers{7, 7}));
}

TEST(Extents, AreRefusedWhereNoneIsGiven) {
  const MemoryFile file;
  const Owned dataset = makeGrowing(file);
  for (const char* name : {"H5Dset_extent", "H5Dextend"}) {
    for (const Value& none : {empty(), cell({}), text("")}) {
      expectLibraryError(name, dataset, none);
    }
  }
  EXPECT_EQ(extentOf(dataset), (Numbers{4, 6}));
}

TEST(Extents, ThatAreNoSizesRaise) {
  const MemoryFile file;
  const Owned dataset = makeGrowing(file);
  const Value cell = h5test::cell({number(3), number(4)});
  for (const Value& bad : {row({-1, 2}), row({2, -1}), row({kNaN, 1}), row({kInfinity, 1}),
                           row({-kInfinity, 1}), row({kTwo64, 1}), row({3, 4, -1}),
                           numeric(zbClass::Int8, {-1, 2}), cell, text("34"), structure({})}) {
    for (const char* name : {"H5Dset_extent", "H5Dextend"}) {
      expectRaises("numericCastError", {}, name, dataset, bad);
    }
  }
  EXPECT_EQ(extentOf(dataset), (Numbers{4, 6}));
}

TEST(Extents, StayWithinTheirMaxima) {
  const MemoryFile file;
  const Owned fixed = makeDataset(file, "data", "H5T_NATIVE_DOUBLE", makeSpace({3}));
  expectLibraryError("H5Dset_extent", fixed, 4);
  const Owned limited =
      make("H5Dcreate", file, "limited", "H5T_NATIVE_INT", makeSpace({3}, row({5})), chunked({1}));
  call("H5Dset_extent", limited, 5);
  expectLibraryError("H5Dset_extent", limited, 6);
  const Owned scalar = make("H5Dcreate", file, "scalar", "H5T_NATIVE_INT", scalarSpace(), kDefault);
  expectLibraryError("H5Dset_extent", scalar, 1);
}

// --- Filling -------------------------------------------------------------------------

/// Fills with 7, or with another value of class double.
Value filled(const Value& buffer, const Owned& space, const Value& value = number(7)) {
  const Owned type = copyOf(H5T_NATIVE_DOUBLE);
  return result("H5Dfill", value, type, buffer, type, space);
}

void expectFillRaises(std::string_view key, const Parameters& parameters, const Value& buffer,
                      const Argument& space) {
  const Owned type = copyOf(H5T_NATIVE_DOUBLE);
  expectRaises(key, parameters, "H5Dfill", 7, type, buffer, type, space);
}

void expectNoFill(const Value& value, const Argument& valueType, const Value& buffer,
                  const Argument& bufferType, const Argument& space) {
  expectLibraryError("H5Dfill", value, valueType, buffer, bufferType, space);
}

Value cube(std::size_t x, std::size_t y, std::size_t z) {
  return zembra::makeNumeric(zbClass::Double, {x, y, z}, Numbers(x * y * z, 0).data());
}

TEST(Fill, GivesACopyAndLeavesTheBufferAlone) {
  const Value buffer = row({1, 2, 3});
  const Value result = filled(buffer, makeSpace({3}));
  EXPECT_EQ(numbersOf(result), (Numbers{7, 7, 7}));
  EXPECT_EQ(numbersOf(buffer), (Numbers{1, 2, 3}));
  EXPECT_NE(zbGetData(result.get()), zbGetData(buffer.get()));
}

TEST(Fill, KeepsShapeAndClass) {
  const Value result =
      filled(matrix(4, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}), makeSpace({3, 4}));
  EXPECT_EQ(shapeOf(result), (Shape{4, 3}));
  EXPECT_EQ(numbersOf(result), Numbers(12, 7));
  EXPECT_EQ(shapeOf(filled(cube(4, 3, 2), makeSpace({2, 3, 4}))), (Shape{4, 3, 2}));
}

TEST(Fill, TakesOneElementForAScalarSpace) {
  const Owned scalar = scalarSpace();
  EXPECT_EQ(numbersOf(filled(number(1), scalar)), Numbers{7});
  expectFillRaises("wrongNumberOfElementsForOneDimensionalDataspace", {2, 1}, row({1, 2}), scalar);
  expectFillRaises("dataBufferRankNotTwo", {}, cube(1, 1, 2), scalar);
}

TEST(Fill, ChangesNothingOfANullSpace) {
  const Owned null = nullSpace();
  EXPECT_EQ(numbersOf(filled(number(1), null)), Numbers{1});
  expectFillRaises("wrongNumberOfElementsForOneDimensionalDataspace", {2, 1}, row({1, 2}), null);
}

TEST(Fill, ReachesTheSelectionOnly) {
  const Owned space = makeSpace({5});
  call("H5Sselect_hyperslab", space, "H5S_SELECT_SET", 1, 2, 2, empty());
  EXPECT_EQ(numbersOf(filled(row({1, 2, 3, 4, 5}), space)), (Numbers{1, 7, 3, 7, 5}));
}

TEST(Fill, AcceptsHostDimensionsThatAreLarger) {
  const Value result =
      filled(matrix(4, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}), makeSpace({2, 4}));
  EXPECT_EQ(numbersOf(result), (Numbers{7, 7, 7, 7, 7, 7, 7, 7, 9, 10, 11, 12}));
}

TEST(Fill, ConvertsTheValueToTheBuffersDatatype) {
  const Owned integer = copyOf(H5T_NATIVE_INT);
  const Owned real = copyOf(H5T_NATIVE_DOUBLE);
  const Value result = h5test::result("H5Dfill", numeric(zbClass::Int32, {-3}), integer,
                                      row({1, 2}), real, makeSpace({2}));
  EXPECT_EQ(numbersOf(result), (Numbers{-3, -3}));
}

TEST(Fill, UsesTheFirstElementOfTheValueAndZeroWithoutOne) {
  const Owned space = makeSpace({2});
  EXPECT_EQ(numbersOf(filled(row({1, 2}), space, row({8, 9}))), (Numbers{8, 8}));
  EXPECT_EQ(numbersOf(filled(row({1, 2}), space, empty())), (Numbers{0, 0}));
}

TEST(Fill, NeedsBuffersOfTheRank) {
  expectFillRaises("inconsistentRanks", {3, 2}, row({1, 2, 3, 4}), makeSpace({1, 2, 2}));
  expectFillRaises("inconsistentRanks", {2, 3}, cube(2, 2, 2), makeSpace({2, 2}));
  expectFillRaises("dataBufferRankNotTwo", {}, cube(1, 1, 5), makeSpace({5}));
}

TEST(Fill, NeedsBuffersOfTheExtentReversed) {
  const auto inconsistent = [](const char* extent, const char* dims, const Value& buffer,
                               const Argument& space) {
    expectFillRaises("inconsistentExtent", {extent, dims}, buffer, space);
  };
  const Numbers twelve(12, 0);
  inconsistent("[ 3 4 ]", "[ 3 4 ]", zembra::makeNumeric(zbClass::Double, {3, 4}, twelve.data()),
               makeSpace({3, 4}));
  inconsistent("[ 2 1 ]", "[ 1 1 ]", number(0), makeSpace({2, 1}));
  inconsistent("[ 1 2 ]", "[ 0 0 ]", empty(), makeSpace({1, 2}));
  inconsistent("[ 2 3 4 ]", "[ 2 3 4 ]", cube(2, 3, 4), makeSpace({2, 3, 4}));
}

TEST(Fill, NeedsNoMoreElementsThanOneDimensionHas) {
  expectFillRaises("wrongNumberOfElementsForOneDimensionalDataspace", {6, 5},
                   row({1, 2, 3, 4, 5, 6}), makeSpace({5}));
  expectFillRaises("wrongNumberOfElementsForOneDimensionalDataspace", {6, 5},
                   matrix(2, 3, {1, 2, 3, 4, 5, 6}), makeSpace({5}));
}

TEST(Fill, NeedsADataspace) {
  expectFillRaises("failureToRetrieveDataspaceNdims", {}, row({1}), kNoIdentifier);
  expectFillRaises("failureToRetrieveDataspaceNdims", {}, row({1}), kDefault);
}

TEST(Fill, NeedsDatatypes) {
  const Owned type = copyOf(H5T_NATIVE_DOUBLE);
  expectNoFill(row({1}), kNoIdentifier, row({1}), type, makeSpace({1}));
  expectNoFill(row({1}), type, row({1}), kNoIdentifier, makeSpace({1}));
}

TEST(Fill, ReadsNothingBeyondTheValue) {
  const Owned type = copyOf(H5T_NATIVE_DOUBLE);
  const Owned large = opaque(1000);
  const Value bytes =
      zembra::makeNumeric(zbClass::UInt8, {1, 1000}, std::vector<std::uint8_t>(1000).data());
  for (const Value& tooShort :
       {numeric(zbClass::Single, {1}), numeric(zbClass::Int8, {1, 2, 3, 4, 5, 6, 7}), logical(true),
        text("seven"), cell({number(7)}), structure({{"a", number(7)}}), identifier(7)}) {
    expectNoFill(tooShort, type, row({1}), type, makeSpace({1}));
    expectNoFill(tooShort, large, bytes, large, makeSpace({1000}));
  }
}

TEST(Fill, WritesNothingBeyondTheBuffer) {
  const Owned type = copyOf(H5T_NATIVE_DOUBLE);
  const Owned space = makeSpace({5});
  for (const Value& tooShort :
       {row({1, 2, 3, 4}), empty(), numeric(zbClass::Single, {1, 2, 3, 4, 5}),
        numeric(zbClass::Int8, {1, 2, 3, 4, 5}), text("12345"),
        cell({empty(), empty(), empty(), empty(), empty()}), structure({})}) {
    expectNoFill(number(7), type, tooShort, type, space);
  }
  const Value bytes = zembra::makeNumeric(zbClass::Int16, {4, 3}, std::vector<short>(12).data());
  expectNoFill(number(7), type, bytes, type, makeSpace({3, 4}));
}

TEST(Fill, WritesNothingWhereASelectionLeavesTheExtent) {
  const Owned type = copyOf(H5T_NATIVE_DOUBLE);
  const auto expectRefused = [&](const Owned& space) {
    expectNoFill(number(7), type, row({1, 2, 3, 4, 5}), type, space);
  };
  const Owned space = makeSpace({5});
  call("H5Sselect_hyperslab", space, "H5S_SELECT_SET", 3, empty(), 600, empty());
  expectRefused(space);
  for (const Value& points : {row({5}), row({2, 5}), row({1000000})}) {
    call("H5Sselect_elements", space, "H5S_SELECT_SET", points);
    expectRefused(space);
  }
  call("H5Sselect_elements", space, "H5S_SELECT_SET", 0);
  call("H5Soffset_simple", space, 5);
  expectRefused(space);
  call("H5Soffset_simple", space, 4);
  EXPECT_EQ(numbersOf(filled(row({1, 2, 3, 4, 5}), space)), (Numbers{1, 2, 3, 4, 7}));
}

TEST(Fill, TakesNoBytesForPointers) {
  const Owned sequence = sequenceOf(H5T_NATIVE_INT);
  const Owned text = variableText();
  const Owned texts = arrayOf(text, {2});
  const Owned compound = compoundOf({{"number", H5T_NATIVE_INT}, {"texts", texts}});
  const Value bytes =
      zembra::makeNumeric(zbClass::UInt8, {1, 64}, std::vector<std::uint8_t>(64, 1).data());
  const Owned space = makeSpace({64});
  const Owned byte = copyOf(H5T_NATIVE_UCHAR);
  const Owned one = makeSpace({1, 1});
  for (const Owned* type : {&sequence, &text, &texts, &compound}) {
    expectNoFill(bytes, *type, bytes, *type, one);
    expectNoFill(bytes, byte, bytes, *type, one);
    expectNoFill(bytes, *type, bytes, byte, space);
  }
}

TEST(Fill, TakesStructuredElements) {
  const Owned compound = compoundOf({{"a", H5T_NATIVE_INT}, {"b", H5T_NATIVE_INT}});
  const Value result =
      h5test::result("H5Dfill", numeric(zbClass::Int32, {3, 4}), compound,
                     numeric(zbClass::Int32, {0, 0, 0, 0}), compound, makeSpace({1, 1}));
  EXPECT_EQ(numbersOf(result), (Numbers{3, 4, 0, 0}));
}

}  // namespace
