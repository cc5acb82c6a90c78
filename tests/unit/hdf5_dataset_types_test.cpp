// HDF5Dataset: memory datatypes that it chooses, and what has none.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "tests/unit/hdf5_dataset_fixture.hpp"

namespace {

using namespace h5test;
using testing::ElementsAre;
using testing::HasSubstr;

// --- Chosen --------------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, MemoryDatatypesForReadingAreNative) {
  EXPECT_TRUE(equal(memoryType(H5T_STD_I8BE), H5T_NATIVE_INT8));
  EXPECT_TRUE(equal(memoryType(H5T_STD_U8BE), H5T_NATIVE_UINT8));
  EXPECT_TRUE(equal(memoryType(H5T_STD_I16BE), H5T_NATIVE_INT16));
  EXPECT_TRUE(equal(memoryType(H5T_STD_U16BE), H5T_NATIVE_UINT16));
  EXPECT_TRUE(equal(memoryType(resized(H5T_STD_I32BE, 3)), H5T_NATIVE_INT32));
  EXPECT_TRUE(equal(memoryType(H5T_STD_U32BE), H5T_NATIVE_UINT32));
  EXPECT_TRUE(equal(memoryType(resized(H5T_STD_U64BE, 5)), H5T_NATIVE_UINT64));
  EXPECT_TRUE(equal(memoryType(H5T_STD_I64BE), H5T_NATIVE_INT64));
  EXPECT_TRUE(equal(memoryType(H5T_IEEE_F32BE), H5T_NATIVE_FLOAT));
  EXPECT_TRUE(equal(memoryType(H5T_IEEE_F64BE), H5T_NATIVE_DOUBLE));
  EXPECT_TRUE(equal(memoryType(H5T_NATIVE_LDOUBLE), H5T_NATIVE_DOUBLE));
  EXPECT_TRUE(equal(memoryType(H5T_STD_B16BE), H5T_NATIVE_B16));
  const Owned text = fixedText(7, H5T_STR_SPACEPAD);
  EXPECT_TRUE(equal(memoryType(text), text));
  const Owned variable = variableText(H5T_CSET_UTF8);
  EXPECT_TRUE(equal(memoryType(variable), variable));
  EXPECT_TRUE(equal(memoryType(H5T_STD_REF_DSETREG), H5T_STD_REF_DSETREG));
  EXPECT_TRUE(equal(memoryType(colours(H5T_STD_I32BE)), colours(H5T_NATIVE_INT32)));
  EXPECT_TRUE(equal(memoryType(sequenceOf(H5T_STD_I32BE)), sequenceOf(H5T_NATIVE_INT32)));
  EXPECT_TRUE(equal(memoryType(arrayOf(H5T_STD_I32BE, {2, 3})), arrayOf(H5T_NATIVE_INT32, {2, 3})));
  const Owned padded = compoundOf({{"a", H5T_STD_I8LE}, {"b", H5T_IEEE_F64BE}}, 7);
  EXPECT_TRUE(
      equal(memoryType(padded), compoundOf({{"a", H5T_NATIVE_INT8}, {"b", H5T_NATIVE_DOUBLE}})));
}

TEST_F(Hdf5DatasetTest, MemoryDatatypesForWritingFollowTheArray) {
  const Value doubles = column<double>({1});
  EXPECT_TRUE(equal(memoryType(H5T_STD_I8BE, doubles), H5T_NATIVE_DOUBLE));
  EXPECT_TRUE(equal(memoryType(H5T_IEEE_F64BE, column<std::int8_t>({1})), H5T_NATIVE_INT8));
  EXPECT_TRUE(equal(memoryType(H5T_IEEE_F64BE, logicals({1})), H5T_NATIVE_UINT8));
  EXPECT_TRUE(equal(memoryType(H5T_STD_I16BE, text("")), H5T_NATIVE_INT16));
  const Owned compound = compoundOf({{"a", H5T_STD_I8LE}, {"b", H5T_IEEE_F64BE}});
  EXPECT_TRUE(equal(memoryType(compound, structure({{"b", column<float>({1})}, {"a", doubles}})),
                    compoundOf({{"a", H5T_NATIVE_DOUBLE}, {"b", H5T_NATIVE_FLOAT}})));
  EXPECT_TRUE(equal(memoryType(compound, empty()), memoryType(compound)));
  const Owned sequence = sequenceOf(H5T_STD_I8LE);
  EXPECT_TRUE(equal(memoryType(sequence, cells(text(""), Value(), doubles)),
                    sequenceOf(H5T_NATIVE_DOUBLE)));
  EXPECT_TRUE(equal(memoryType(sequence, cells()), sequenceOf(H5T_NATIVE_INT8)));
  EXPECT_TRUE(
      equal(memoryType(arrayOf(H5T_STD_I8LE, {1}), doubles), arrayOf(H5T_NATIVE_DOUBLE, {1})));
  const Owned colour = colours(H5T_STD_I16LE);
  EXPECT_TRUE(equal(memoryType(colour, doubles), colour));
  EXPECT_TRUE(equal(memoryType(H5T_STD_B8LE, doubles), H5T_NATIVE_B8));
}

// --- Refused -------------------------------------------------------------------------

TEST_F(Hdf5DatasetTest, OtherClassesThanTheDatatypesAreNamed) {
  const Owned memory = copyOf(H5T_NATIVE_DOUBLE);
  EXPECT_EQ(writeRefusal("classMismatch", memory, makeSpace({12}),
                         numbers<std::int32_t>({3, 4}, std::vector<std::int32_t>(12))),
            "The array is int32 3-by-4 but the datatype H5T_FLOAT of 8 bytes needs double.");
  writeRefusal("classMismatch", memory, scalarSpace(), text("a"));
  writeRefusal("classMismatch", memory, scalarSpace(), cells(column<double>({1})));
  writeRefusal("classMismatch", memory, scalarSpace(), zembra::makeObject("H5ZB.id", {}));
  writeRefusal("classMismatch", memory, scalarSpace(), zembra::makeFunction(nullptr));
  writeRefusal("classMismatch", memory, scalarSpace(), zembra::makeForeign({}));
  writeRefusal("classMismatch", memory, scalarSpace(), logicals({1}));
  EXPECT_EQ(laidOut<std::uint8_t>(copyOf(H5T_NATIVE_UINT8), scalarSpace(), logicals({1}), 1)[0], 1);
  for (const Value& data : {text("a"), cells(column<double>({1})), structure({})}) {
    const auto choose = [&] { memoryType(H5T_STD_I32LE, data); };
    EXPECT_THAT(refusal("classMismatch", choose), HasSubstr("H5T_INTEGER of 4 bytes"));
  }
}

TEST_F(Hdf5DatasetTest, ComplexAndSparseArraysAreRefused) {
  const Value complex = column<double>({1});
  complex.get()->complex = true;
  const Value sparse = column<double>({1});
  sparse.get()->sparse = true;
  for (const Owned& memory : {copyOf(H5T_NATIVE_DOUBLE), colours(H5T_NATIVE_INT)}) {
    writeRefusal("complexData", memory, scalarSpace(), complex);
    writeRefusal("sparseData", memory, scalarSpace(), sparse);
  }
  const Owned compound = compoundOf({{"z", H5T_NATIVE_DOUBLE}});
  EXPECT_THAT(writeRefusal("complexData", compound, scalarSpace(), structure({{"z", complex}})),
              HasSubstr("Field 'z'"));
}

TEST_F(Hdf5DatasetTest, DatatypesWithoutAHostFormAreNamed) {
  const Owned wide = resized(H5T_STD_I64LE, 16);
  const Owned space = scalarSpace();
  struct Case {
    hid_t type;
    const char* name;
  };
  const Case cases[] = {{H5T_UNIX_D32LE, "H5T_TIME"}, {wide.get(), "H5T_INTEGER of 16 bytes"}};
  for (const auto& [type, name] : cases) {
    const auto plan = [&, type = type] { HDF5Dataset(type, space.get()); };
    EXPECT_THAT(refusal("unsupportedDatatype", plan), HasSubstr(name));
    const auto choose = [type = type] { memoryType(type); };
    EXPECT_THAT(refusal("unsupportedDatatype", choose), HasSubstr(name));
    const Owned nested = compoundOf({{"a", H5T_NATIVE_INT}, {"b", type}});
    const auto inside = [&] { memoryType(nested); };
    EXPECT_THAT(refusal("unsupportedDatatype", inside), HasSubstr(name));
  }
}

TEST_F(Hdf5DatasetTest, NestingHasALimit) {
  Owned type = copyOf(H5T_NATIVE_INT);
  for (int depth = 1; depth < 32; ++depth) type = arrayOf(type, {1});
  const Owned space = scalarSpace();
  // Not through a file: HDF5's own work doubles with each level.
  const std::int32_t five = 5;
  const Value back = gathered(memoryType(type), space, &five);
  EXPECT_THAT(valuesOf<std::int32_t>(back), ElementsAre(5));
  EXPECT_THAT(laidOut<std::int32_t>(type, space, back, 1), ElementsAre(5));
  EXPECT_EQ(back.get()->naturalRank, 31);
  const Owned deeper = arrayOf(type, {1});
  const auto plan = [&] { HDF5Dataset(deeper.get(), space.get()); };
  refusal("unsupportedDatatype", plan);
  const auto choose = [&] { memoryType(deeper); };
  EXPECT_THAT(refusal("unsupportedDatatype", choose), HasSubstr("32 levels"));
}

void expectHdf5sFailure(const std::function<void()>& action) {
  const Failure error = raisedBy(action);
  EXPECT_TRUE(error && (*error)->libraryFailure);
}

TEST_F(Hdf5DatasetTest, InvalidIdentifiersAreHdf5sOwnFailure) {
  const Owned space = scalarSpace();
  for (const hid_t type : {hid_t{-1}, hid_t{0}, space.get()}) {
    expectHdf5sFailure([&] { HDF5Dataset(type, space.get()); });
    expectHdf5sFailure([&] { HDF5Dataset::getMemDatatype(type); });
  }
  expectHdf5sFailure([&] { HDF5Dataset(H5T_NATIVE_INT, -1); });
}

}  // namespace
