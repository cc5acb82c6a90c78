// Memory datatypes: which are accepted for data of which file datatype, at every depth,
// and which are chosen.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/complaints.hpp"
#include "tests/unit/datatypes.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/open_identifiers.hpp"

namespace {

using namespace h5test;

// --- Datatypes -----------------------------------------------------------------------

/// One of each class that data can have.
std::vector<std::pair<H5T_class_t, Owned>> oneOfEachClass() {
  std::vector<std::pair<H5T_class_t, Owned>> all;
  all.emplace_back(H5T_INTEGER, copyOf(H5T_NATIVE_INT));
  all.emplace_back(H5T_FLOAT, copyOf(H5T_NATIVE_DOUBLE));
  all.emplace_back(H5T_STRING, fixedText(4));
  all.emplace_back(H5T_BITFIELD, copyOf(H5T_NATIVE_B16));
  all.emplace_back(H5T_OPAQUE, opaque(4, "tag"));
  all.emplace_back(H5T_COMPOUND, compoundOf({{"a", H5T_NATIVE_INT}}));
  all.emplace_back(H5T_REFERENCE, copyOf(H5T_STD_REF_OBJ));
  all.emplace_back(H5T_ENUM, enumeration({"red"}));
  all.emplace_back(H5T_VLEN, sequenceOf(H5T_NATIVE_INT));
  all.emplace_back(H5T_ARRAY, arrayOf(H5T_NATIVE_INT, {2}));
  return all;
}

const char* expectedName(H5T_class_t fileClass) {
  switch (fileClass) {
    case H5T_INTEGER: return "H5T_INTEGER";
    case H5T_FLOAT: return "H5T_FLOAT";
    case H5T_STRING: return "H5T_STRING";
    case H5T_BITFIELD: return "H5T_BITFIELD";
    case H5T_OPAQUE: return "H5T_OPAQUE";
    case H5T_COMPOUND: return "H5T_COMPOUND";
    case H5T_REFERENCE: return "H5T_REFERENCE";
    case H5T_ENUM: return "H5T_ENUM";
    case H5T_VLEN: return "VLEN H5T_STRING";
    default: return "H5T_ARRAY";
  }
}

// --- Asking for the check ------------------------------------------------------------

/// Datasets and attributes of file datatypes; every check is made through both, in
/// both directions.
class MemoryDatatype : public testing::Test {
 protected:
  /// The key that the memory datatype raises for data of the file datatype and its
  /// parameters; no key where it is accepted. The data are of a null space: whatever
  /// is accepted transfers nothing.
  std::pair<std::string, Parameters> complaint(const Owned& fileType, const Owned& memoryType) {
    const std::string name = std::to_string(++count_);
    const Owned dataset(H5Dcreate2(file_.get(), name.c_str(), fileType.get(), null_.get(),
                                   H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    const Owned attribute(H5Acreate2(file_.get(), name.c_str(), fileType.get(), null_.get(),
                                     H5P_DEFAULT, H5P_DEFAULT));
    const std::vector<std::pair<std::string, Parameters>> complaints = {
        complaintOf("H5Dread", {dataset, memoryType, kAll, kAll, kDefault}),
        complaintOf("H5Dwrite", {dataset, memoryType, kAll, kAll, kDefault, empty()}),
        complaintOf("H5Aread", {attribute, memoryType}),
        complaintOf("H5Awrite", {attribute, memoryType, empty()}),
    };
    for (const auto& each : complaints) EXPECT_EQ(each, complaints.front());
    return complaints.front();
  }

  void expectAccepted(const Owned& fileType, const Owned& memoryType) {
    EXPECT_EQ(complaint(fileType, memoryType).first, "");
  }
  void expectRefused(const std::string& key, const Parameters& parameters, const Owned& fileType,
                     const Owned& memoryType) {
    EXPECT_EQ(complaint(fileType, memoryType), std::pair(key, parameters));
  }
  /// The same at the bottom of every kind of nesting.
  void expectRefusedAtEveryDepth(const std::string& key, const Parameters& parameters,
                                 const Owned& fileType, const Owned& memoryType) {
    expectRefused(key, parameters, fileType, memoryType);
    expectRefused(key, parameters, sequenceOf(fileType), sequenceOf(memoryType));
    expectRefused(key, parameters, arrayOf(fileType, {2, 3}), arrayOf(memoryType, {2, 3}));
    const Owned file = compoundOf({{"a", H5T_NATIVE_INT}, {"b", fileType}});
    const Owned memory = compoundOf({{"b", memoryType}});
    expectRefused(key, parameters, file, memory);
    expectRefused(key, parameters, sequenceOf(arrayOf(file, {4})),
                  sequenceOf(arrayOf(memory, {4})));
  }

  MemoryFile file_;

 private:
  static std::pair<std::string, Parameters> complaintOf(const char* name,
                                                        const Arguments& arguments) {
    try {
      callWith(1, name, arguments);
      return {};
    } catch (const zembra::HostError& error) {
      return {error->key, error->parameters};
    }
  }

  Owned null_ = nullSpace();
  int count_ = 0;
};

// --- Classes -------------------------------------------------------------------------

TEST_F(MemoryDatatype, HasTheFilesClass) {
  const auto types = oneOfEachClass();
  for (const auto& [fileClass, fileType] : types) {
    for (const auto& [memoryClass, memoryType] : types) {
      const auto isNumber = [](H5T_class_t c) { return c == H5T_INTEGER || c == H5T_FLOAT; };
      if (fileClass == memoryClass || (isNumber(fileClass) && isNumber(memoryClass))) {
        expectAccepted(fileType, memoryType);
      } else {
        expectRefused("badMemTypeClass", {expectedName(fileClass)}, fileType, memoryType);
      }
    }
  }
}

TEST_F(MemoryDatatype, HasTheFilesClassAtEveryDepth) {
  const Owned number = copyOf(H5T_NATIVE_INT);
  for (const auto& [fileClass, fileType] : oneOfEachClass()) {
    if (fileClass == H5T_INTEGER || fileClass == H5T_FLOAT) {
      expectRefusedAtEveryDepth("badMemTypeClass", {expectedName(fileClass)}, fileType,
                                fixedText(4));
    } else {
      expectRefusedAtEveryDepth("badMemTypeClass", {expectedName(fileClass)}, fileType, number);
    }
  }
}

TEST_F(MemoryDatatype, IsADatatype) {
  const Owned space = makeSpace({2});
  for (const auto& [fileClass, fileType] : oneOfEachClass()) {
    expectRefused("badMemTypeClass", {expectedName(fileClass)}, fileType, space);
  }
}

TEST_F(MemoryDatatype, OfTimesIsAlwaysRefused) {
  const Owned time = copyOf(H5T_UNIX_D32LE);
  const Parameters timeClass = {std::int64_t{H5T_TIME}};
  expectRefusedAtEveryDepth("unrecognizedLocationClass", timeClass, time, time);
}

TEST_F(MemoryDatatype, MayHaveAnyNumberForANumber) {
  const Owned integer = copyOf(H5T_STD_I16BE);
  const Owned real = copyOf(H5T_IEEE_F32LE);
  for (const hid_t type : {H5T_NATIVE_SCHAR, H5T_NATIVE_ULLONG, H5T_NATIVE_FLOAT}) {
    expectAccepted(integer, copyOf(type));
    expectAccepted(real, copyOf(type));
    expectAccepted(sequenceOf(integer), sequenceOf(copyOf(type)));
  }
}

// --- Each class's own rules ----------------------------------------------------------

TEST_F(MemoryDatatype, OfTextIsFixedOrVariableAsTheFile) {
  expectAccepted(fixedText(4), fixedText(9));
  expectAccepted(variableText(), variableText());
  expectRefusedAtEveryDepth("expectedFixedLengthStringMemoryType", {}, fixedText(4),
                            variableText());
  expectRefusedAtEveryDepth("expectedVariableLengthStringMemoryType", {}, variableText(),
                            fixedText(4));
}

TEST_F(MemoryDatatype, OfOpaqueDataHasTheSameSizeAndTag) {
  expectAccepted(opaque(4, "tag"), opaque(4, "tag"));
  expectAccepted(opaque(4, ""), opaque(4, ""));
  expectRefusedAtEveryDepth("opaqueSizeMismatch", {}, opaque(4, "tag"), opaque(5, "tag"));
  expectRefusedAtEveryDepth("opaqueTagMismatch", {}, opaque(4, "tag"), opaque(4, "ta"));
  expectRefusedAtEveryDepth("opaqueTagMismatch", {}, opaque(4, "tag"), opaque(4, "TAG"));
  expectRefused("opaqueTagMismatch", {}, opaque(4, ""), opaque(4, "tag"));
  expectRefused("opaqueSizeMismatch", {}, opaque(4, "tag"), opaque(5, "other"));
}

TEST_F(MemoryDatatype, OfReferencesHasTheSameKind) {
  const Owned object = copyOf(H5T_STD_REF_OBJ);
  const Owned region = copyOf(H5T_STD_REF_DSETREG);
  expectAccepted(object, object);
  expectAccepted(region, region);
  expectRefusedAtEveryDepth("referenceMemoryTypeNotObject", {}, object, region);
  expectRefusedAtEveryDepth("referenceMemoryTypeNotRegion", {}, region, object);
}

TEST_F(MemoryDatatype, OfEnumerationsHasSomeMember) {
  expectAccepted(enumeration({"red", "green"}), enumeration({"red", "green"}));
  expectRefused("enumMemoryTypeWithNoMembers", {}, enumeration({"red"}), enumeration({}));
}

TEST_F(MemoryDatatype, OfEnumerationsMayHaveMembersOfItsOwn) {
  const Owned null = nullSpace();
  const Owned attribute(H5Acreate2(file_.get(), "a", enumeration({"red"}).get(), null.get(),
                                   H5P_DEFAULT, H5P_DEFAULT));
  EXPECT_EQ(call("H5Aread", attribute, enumeration({"blue"})).size(), 1U);
}

TEST_F(MemoryDatatype, OfArraysHasTheSameDimensions) {
  const Owned number = copyOf(H5T_NATIVE_INT);
  const Owned real = copyOf(H5T_NATIVE_FLOAT);
  expectAccepted(arrayOf(number, {2, 3}), arrayOf(real, {2, 3}));
  const Owned file = arrayOf(number, {2, 3});
  for (const std::vector<hsize_t>& dims : {std::vector<hsize_t>{6}, {2, 3, 1}}) {
    expectRefusedAtEveryDepth("arrayRankInMemoryDatatypeMismatch", {}, file, arrayOf(number, dims));
  }
  for (const std::vector<hsize_t>& dims : {std::vector<hsize_t>{3, 2}, {2, 4}, {1, 3}}) {
    expectRefusedAtEveryDepth("arrayDimsInMemoryDatatypeMismatch", {}, file, arrayOf(number, dims));
  }
  const std::vector<hsize_t> most(H5S_MAX_RANK, 1);
  expectAccepted(arrayOf(number, most), arrayOf(number, most));
}

TEST_F(MemoryDatatype, OfCompoundsMayLeaveMembersOutAndReorderThem) {
  const Owned file = compoundOf({{"a", H5T_NATIVE_INT}, {"b", fixedText(4)}});
  expectAccepted(file, compoundOf({{"b", fixedText(9)}, {"a", H5T_NATIVE_DOUBLE}}));
  expectAccepted(file, compoundOf({{"b", fixedText(4)}}));
  expectAccepted(file, compoundOf({{"a", H5T_NATIVE_INT}}));
}

TEST_F(MemoryDatatype, OfCompoundsHasNoMembersOfItsOwn) {
  const Owned file = compoundOf({{"a", H5T_NATIVE_INT}});
  expectRefusedAtEveryDepth("memoryCompoundMemberNameNotFound", {"b"}, file,
                            compoundOf({{"a", H5T_NATIVE_INT}, {"b", H5T_NATIVE_INT}}));
  expectRefusedAtEveryDepth("memoryCompoundMemberNameNotFound", {"A"}, file,
                            compoundOf({{"A", H5T_NATIVE_INT}}));
}

TEST_F(MemoryDatatype, OfCompoundsIsCheckedInItsOwnOrder) {
  const Owned file = compoundOf({{"a", H5T_NATIVE_INT}, {"b", H5T_NATIVE_INT}});
  expectRefused("badMemTypeClass", {"H5T_INTEGER"}, file,
                compoundOf({{"b", fixedText(4)}, {"c", H5T_NATIVE_INT}}));
  expectRefused("memoryCompoundMemberNameNotFound", {"c"}, file,
                compoundOf({{"c", H5T_NATIVE_INT}, {"b", fixedText(4)}}));
}

TEST_F(MemoryDatatype, OfCompoundsHasSomeMember) {
  expectRefused("badMemoryDatatypeCardinality", {}, compoundOf({{"a", H5T_NATIVE_INT}}),
                Owned(H5Tcreate(H5T_COMPOUND, 4)));
}

// --- Where the check does not apply --------------------------------------------------

TEST_F(MemoryDatatype, IsForDatasetsAndAttributesOnly) {
  const Owned type = copyOf(H5T_NATIVE_INT);
  const Owned group = make("H5Gopen", identifier(file_.id()), "/");
  const std::vector<std::pair<Argument, std::int64_t>> locations = {
      {group, H5I_GROUP}, {type, H5I_DATATYPE}, {kNoIdentifier, H5I_BADID}};
  for (const auto& [location, number] : locations) {
    const Parameters parameters = {number};
    expectRaises("unrecognizedLocationType", parameters, "H5Dread", location.array, type, kAll,
                 kAll, kDefault);
    expectRaises("unrecognizedLocationType", parameters, "H5Dwrite", location.array, type, kAll,
                 kAll, kDefault, 1);
    expectRaises("unrecognizedLocationType", parameters, "H5Aread", location.array, type);
    expectRaises("unrecognizedLocationType", parameters, "H5Awrite", location.array, type, 1);
  }
}

// --- The datatype that the host chooses ----------------------------------------------

TEST(ChosenDatatype, IsAskedForByOneIdentifier) {
  expectComplaints("H5ZBget_mem_datatype", {identifierInput(0, "location id")});
}

TEST(ChosenDatatype, IsOfDatasetsAndAttributes) {
  const MemoryFile file;
  const Owned space = makeSpace({2});
  struct {
    const char* type;
    hid_t chosen;
  } const cases[] = {{"H5T_STD_I16BE", H5T_NATIVE_SHORT},
                     {"H5T_IEEE_F32BE", H5T_NATIVE_FLOAT},
                     {"H5T_STD_U64LE", H5T_NATIVE_ULLONG},
                     {"H5T_STD_REF_OBJ", H5T_STD_REF_OBJ}};
  for (const auto& [type, chosen] : cases) {
    const Owned dataset = makeDataset(file, type, type, space);
    const Owned attribute = make("H5Acreate", file, type, type, space, kDefault);
    for (const Owned* location : {&dataset, &attribute}) {
      const Owned memoryType = make("H5ZBget_mem_datatype", *location);
      EXPECT_GT(H5Tequal(memoryType.get(), chosen), 0) << type;
    }
  }
}

TEST(ChosenDatatype, IsANewOneThatTheScriptCloses) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "d", "H5T_STD_I16BE", makeSpace({2}));
  const std::size_t before = openIdentifiers();
  const double first = callNumber("H5ZBget_mem_datatype", dataset);
  const double second = callNumber("H5ZBget_mem_datatype", identifier(dataset.id()));
  EXPECT_NE(first, second);
  EXPECT_GT(openIdentifiers(), before);
  call("H5Tclose", first);
  call("H5Tclose", second);
  EXPECT_EQ(openIdentifiers(), before);
}

TEST(ChosenDatatype, PassesTheCheck) {
  const MemoryFile file;
  int count = 0;
  for (const auto& [typeClass, type] : oneOfEachClass()) {
    const Owned dataset = makeDataset(file, std::to_string(++count), type, emptySpace());
    const Owned memoryType = make("H5ZBget_mem_datatype", dataset);
    EXPECT_EQ(call("H5Dread", dataset, memoryType, kAll, kAll, kDefault).size(), 1U) << typeClass;
  }
}

TEST(ChosenDatatype, IsRefusedForEverythingElse) {
  const MemoryFile file;
  const Owned group = make("H5Gopen", file, "/");
  const Owned type = copyOf(H5T_NATIVE_INT);
  const Owned space = makeSpace({2});
  const std::vector<std::pair<Argument, std::int64_t>> locations = {
      {group, 2},  // the number of HDF5's groups, as scripts know it
      {file, H5I_FILE},
      {type, H5I_DATATYPE},
      {space, H5I_DATASPACE},
      {kNoIdentifier, H5I_BADID},
      {kDefault, H5I_BADID}};
  for (const auto& [location, number] : locations) {
    expectRaises("unrecognizedLocationTypeForId", {number}, "H5ZBget_mem_datatype", location.array);
  }
}

TEST(ChosenDatatype, IsRefusedForTimes) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "d", copyOf(H5T_UNIX_D32LE), makeSpace({2}));
  const auto error = failureOf("H5ZBget_mem_datatype", {dataset});
  if (error) {
    EXPECT_EQ((*error)->identifier, "Zembra:host:unsupportedDatatype");
  }
}

}  // namespace
