// Datatypes: the functions of one, copying, committing, sizes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/unit/datatypes.hpp"
#include "tests/unit/defaults.hpp"
#include "tests/unit/first_inputs.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/strangers.hpp"

namespace {

using namespace h5test;

// --- What every function takes first -------------------------------------------------

/// Those whose first input may be named.
const std::vector<FirstInput>& functionsOfNamedTypes() {
  static const std::string datatype = "datatype identifier";
  static const std::string base = "base datatype identifier";
  static const std::vector<FirstInput> all = {
      {"H5Tarray_create", {row({2})}, base},
      {"H5Tarray_create", {1, row({2})}, base},
      {"H5Tcommitted", {}, datatype},
      {"H5Tdetect_class", {"H5T_FLOAT"}, datatype},
      {"H5Tenum_create", {}, datatype},
      {"H5Tenum_insert", {"red", 1}, datatype},
      {"H5Tenum_nameof", {numeric(zbClass::Int32, {1})}, datatype},
      {"H5Tenum_valueof", {"red"}, datatype},
      {"H5Tequal", {"H5T_NATIVE_INT"}, datatype},
      {"H5Tget_array_dims", {}, "array datatype identifier"},
      {"H5Tget_array_ndims", {}, datatype},
      {"H5Tget_class", {}, datatype},
      {"H5Tget_cset", {}, datatype},
      {"H5Tget_ebias", {}, datatype},
      {"H5Tget_fields", {}, datatype},
      {"H5Tget_inpad", {}, datatype},
      {"H5Tget_member_class", {0}, datatype},
      {"H5Tget_member_index", {"a"}, datatype},
      {"H5Tget_member_name", {0}, datatype},
      {"H5Tget_member_offset", {0}, datatype},
      {"H5Tget_member_type", {0}, datatype},
      {"H5Tget_member_value", {0}, datatype},
      {"H5Tget_native_type", {"H5T_DIR_DEFAULT"}, datatype},
      {"H5Tget_nmembers", {}, datatype},
      {"H5Tget_norm", {}, datatype},
      {"H5Tget_offset", {}, datatype},
      {"H5Tget_order", {}, datatype},
      {"H5Tget_pad", {}, datatype},
      {"H5Tget_precision", {}, datatype},
      {"H5Tget_sign", {}, datatype},
      {"H5Tget_size", {}, datatype},
      {"H5Tget_strpad", {}, datatype},
      {"H5Tget_super", {}, datatype},
      {"H5Tget_tag", {}, datatype},
      {"H5Tinsert", {"a", 0, "H5T_NATIVE_INT"}, datatype},
      {"H5Tis_variable_str", {}, datatype},
      {"H5Tlock", {}, datatype},
      {"H5Tpack", {}, datatype},
      {"H5Tset_cset", {0}, datatype},
      {"H5Tset_ebias", {1}, datatype},
      {"H5Tset_fields", {1, 2, 3, 4, 5}, datatype},
      {"H5Tset_inpad", {0}, datatype},
      {"H5Tset_norm", {0}, datatype},
      {"H5Tset_offset", {0}, datatype},
      {"H5Tset_order", {0}, datatype},
      {"H5Tset_pad", {0, 0}, datatype},
      {"H5Tset_precision", {8}, datatype},
      {"H5Tset_sign", {0}, datatype},
      {"H5Tset_strpad", {0}, datatype},
      {"H5Tset_tag", {"tag"}, datatype},
      {"H5Tvlen_create", {}, datatype},
  };
  return all;
}

/// Those whose first input is an identifier, of which only "H5P_DEFAULT" is a name.
const std::vector<FirstInput>& functionsOfIdentifiers() {
  static const std::string datatype = "datatype identifier";
  static const std::string location = "location identifier";
  static const std::vector<FirstInput> all = {
      {"H5Tclose", {}, datatype},
      {"H5Tget_create_plist", {}, datatype},
      {"H5Tset_size", {4}, datatype},
      {"H5Tcommit", {"name", 1}, location},
      {"H5Tcommit", {"name", 1, 0, 0, 0}, location},
      {"H5Topen", {"name"}, location},
      {"H5Topen", {"name", 0}, location},
  };
  return all;
}

TEST(Datatypes, AreNamedLetterByLetter) {
  for (const FirstInput& function : functionsOfNamedTypes()) {
    for (const char* name : {"h5t_native_int", "H5T_NATIVE_INT ", ""}) {
      expectFailure(function, name, "constantNotFound", {std::string(name)});
    }
  }
}

TEST(Datatypes, AreDoublesObjectsOrNames) {
  for (const Value& other : strangers()) {
    for (const FirstInput& function : functionsOfNamedTypes()) {
      expectFailure(function, other, "doubleDatatypeHidtMismatch", {function.description});
    }
    for (const FirstInput& function : functionsOfIdentifiers()) {
      expectFailure(function, other, "doubleHidtMismatch", {function.description});
    }
    expectRaises("doubleHidtMismatch", {std::string("location identifier")}, "H5Tcopy", other);
  }
}

TEST(Datatypes, AreNotNamedWhereAnIdentifierIsTaken) {
  for (const FirstInput& function : functionsOfIdentifiers()) {
    expectFailure(function, "H5T_NATIVE_INT", "unmatchedHidtString",
                  {std::string("H5T_NATIVE_INT"), function.description});
  }
}

TEST(Datatypes, ThatDoNotExistFailInHdf5) {
  std::vector<FirstInput> functions = functionsOfNamedTypes();
  functions.insert(functions.end(), functionsOfIdentifiers().begin(),
                   functionsOfIdentifiers().end());
  for (const FirstInput& function : functions) {
    const std::string name = function.function;
    for (const double id : {kNoIdentifier, -1.0, 1e10}) {
      if (name == "H5Tget_cset") {
        EXPECT_EQ(callNumber(name, id), -1);
      } else if (name == "H5Tget_array_dims") {
        expectFailure(function, id, "datasetHasNoRank", {});
      } else if (name == "H5Tvlen_create") {
        expectFailure(function, id, "badVlenSuperTypeCreate", {});
      } else {
        const auto error = failureOn(function, id);
        EXPECT_TRUE(error && (*error)->libraryFailure) << name;
      }
    }
  }
  expectLibraryError("H5Tcopy", kNoIdentifier);
  expectLibraryError("H5Tcopy", "H5S_ALL");
  expectLibraryError("H5Tget_size", "H5S_ALL");
}

TEST(Datatypes, AreTakenAsObjectsToo) {
  const Owned type = make("H5Tcopy", "H5T_STD_I16BE");
  EXPECT_EQ(callNumber("H5Tget_size", identifier(type.id())), 2);
  call("H5Tset_size", identifier(type.id()), 4);
  EXPECT_EQ(callNumber("H5Tget_size", type), 4);
  const Owned copy = make("H5Tcopy", identifier(type.id()));
  EXPECT_EQ(callNumber("H5Tequal", copy, type), 1);
}

// --- General -------------------------------------------------------------------------

TEST(Datatypes, AreCopiedByNameAndByIdentifier) {
  const Owned named = make("H5Tcopy", "H5T_NATIVE_DOUBLE");
  const Owned copy = make("H5Tcopy", named);
  EXPECT_EQ(callNumber("H5Tequal", copy, "H5T_NATIVE_DOUBLE"), 1);
  EXPECT_EQ(callNumber("H5Tequal", copy, "H5T_NATIVE_FLOAT"), 0);
  expectRaises("constantNotFound", {std::string("H5T_NATIVE_TRIPLE")}, "H5Tcopy",
               "H5T_NATIVE_TRIPLE");
}

TEST(Datatypes, AreClosedOnce) {
  const double type = callNumber("H5Tcopy", "H5T_NATIVE_INT");
  EXPECT_EQ(call("H5Tclose", type).size(), 0U);
  expectLibraryError("H5Tclose", type);
}

TEST(Datatypes, AreCreatedOfAClassAndASize) {
  const Owned opaque = make("H5Tcreate", "H5T_OPAQUE", 12);
  EXPECT_EQ(callNumber("H5Tget_class", opaque), H5T_OPAQUE);
  EXPECT_EQ(callNumber("H5Tget_size", opaque), 12);
  const Owned byNumber = make("H5Tcreate", 6, 8.9);
  EXPECT_EQ(callNumber("H5Tget_class", byNumber), H5T_COMPOUND);
  EXPECT_EQ(callNumber("H5Tget_size", byNumber), 8);
  expectLibraryError("H5Tcreate", "H5T_COMPOUND", 0);
  expectLibraryError("H5Tcreate", "H5T_VLEN", 4);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tcreate", "H5T_COMPOUND", -1);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tcreate", "H5T_COMPOUND", 1e20);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tcreate", "H5T_COMPOUND", kNaN);
  expectRaises("badEnumNumericInput", {std::int64_t{11}, std::int64_t{11}}, "H5Tcreate", 11, 8);
}

TEST(Datatypes, TellClassSizeAndSuper) {
  EXPECT_EQ(callNumber("H5Tget_class", "H5T_STD_B8LE"), H5T_BITFIELD);
  EXPECT_EQ(callNumber("H5Tget_class", "H5T_STD_REF_OBJ"), H5T_REFERENCE);
  EXPECT_EQ(callNumber("H5Tget_class", "H5T_UNIX_D32LE"), H5T_TIME);
  EXPECT_EQ(callNumber("H5Tget_size", "H5T_STD_REF_DSETREG"), 12);
  const Owned array = make("H5Tarray_create", "H5T_STD_I16BE", row({3, 2}));
  const Owned base = make("H5Tget_super", array);
  EXPECT_EQ(callNumber("H5Tequal", base, "H5T_STD_I16BE"), 1);
  expectLibraryError("H5Tget_super", "H5T_STD_I16BE");
}

TEST(Datatypes, DetectAClassInside) {
  const Owned type = compoundOf({{"a", H5T_IEEE_F64LE}, {"b", fixedText(5)}});
  EXPECT_EQ(callNumber("H5Tdetect_class", type, "H5T_STRING"), 1);
  EXPECT_EQ(callNumber("H5Tdetect_class", type, "H5T_VLEN"), 0);
  EXPECT_EQ(callNumber("H5Tdetect_class", type, 1), 1);
  expectRaises("unmatchedStringNoParam", {std::string("string")}, "H5Tdetect_class", type,
               "string");
}

TEST(Datatypes, HaveNativeCounterparts) {
  for (const Argument& direction : {Argument("H5T_DIR_ASCEND"), Argument(1)}) {
    const Owned native = make("H5Tget_native_type", "H5T_STD_I16BE", direction.array);
    EXPECT_EQ(callNumber("H5Tequal", native, "H5T_NATIVE_SHORT"), 1);
  }
  expectRaises("badEnumNumericInput", {std::int64_t{3}, std::int64_t{3}}, "H5Tget_native_type",
               "H5T_STD_I16BE", 3);
}

TEST(Datatypes, CanBeLocked) {
  EXPECT_EQ(call("H5Tlock", "H5T_NATIVE_INT").size(), 0U);  // which it is already
  const MemoryFile file;
  const Owned type = make("H5Tcopy", "H5T_STD_I16BE");
  call("H5Tcommit", file, "short", type);
  expectLibraryError("H5Tlock", type);
  // A locked datatype stays until the library closes: a process of its own ends with it.
  EXPECT_EXIT(
      {
        const double locked = callNumber("H5Tcopy", "H5T_NATIVE_INT");
        call("H5Tlock", locked);
        expectLibraryError("H5Tset_size", locked, 8);
        expectLibraryError("H5Tclose", locked);
        std::exit(testing::Test::HasFailure() ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(Datatypes, AreCommittedAndOpened) {
  const MemoryFile file;
  const Owned type = make("H5Tcopy", "H5T_STD_I16BE");
  EXPECT_EQ(callNumber("H5Tcommitted", type), 0);
  EXPECT_EQ(call("H5Tcommit", file, "short", type).size(), 0U);
  EXPECT_EQ(callNumber("H5Tcommitted", type), 1);
  const Owned other = make("H5Tcopy", "H5T_STD_U8LE");
  call("H5Tcommit", file, "byte", other, kDefault, kDefault, kDefault);

  const Owned opened = make("H5Topen", file, "short");
  EXPECT_EQ(callNumber("H5Tequal", opened, type), 1);
  const Owned openedWithList = make("H5Topen", file, "byte", kDefault);
  EXPECT_EQ(callNumber("H5Tequal", openedWithList, other), 1);
  const Owned list = make("H5Tget_create_plist", opened);
  EXPECT_GT(H5Pisa_class(list.get(), H5P_DATATYPE_CREATE), 0);

  expectLibraryError("H5Tcommit", file, "short", type);
  expectLibraryError("H5Topen", file, "long");
  expectLibraryError("H5Topen", file, "long", 0);
}

TEST(Datatypes, StayAsTheyAreCommitted) {
  const MemoryFile file;
  const Owned type = make("H5Tcopy", "H5T_STD_I16BE");
  call("H5Tcommit", file, "short", type);
  const auto refuses = [&](const char* name, const Argument& value) {
    expectLibraryError(name, type, value.array);
  };
  refuses("H5Tset_size", 4);
  refuses("H5Tset_precision", 8);
  refuses("H5Tset_offset", 1);
  refuses("H5Tset_order", "H5T_ORDER_LE");
  refuses("H5Tset_sign", "H5T_SGN_NONE");
  expectLibraryError("H5Tset_pad", type, "H5T_PAD_ONE", "H5T_PAD_ONE");
  EXPECT_EQ(callNumber("H5Tequal", type, "H5T_STD_I16BE"), 1);
}

TEST(Datatypes, AreCommittedWithLists) {
  const MemoryFile file;
  const Owned type = make("H5Tcopy", "H5T_STD_I16BE");
  const Owned links = makeList("H5P_LINK_CREATE");
  H5Pset_create_intermediate_group(links.get(), 1);
  call("H5Tcommit", file, "a/b/short", type, links, kDefault, kDefault);
  const Owned opened = make("H5Topen", file, "a/b/short");
  EXPECT_EQ(callNumber("H5Tequal", opened, type), 1);
}

TEST(Datatypes, NameTheInputThatIsWrongWhenTheyAreCommitted) {
  const MemoryFile file;
  const Owned type = make("H5Tcopy", "H5T_STD_I16BE");
  const std::string location = "location identifier";
  const std::string lists[] = {"link creation property list identifier",
                               "datatype creation property list identifier",
                               "datatype access property list identifier"};
  expectRaises("notString", {std::string("datatype name")}, "H5Tcommit", file, 1, type);
  expectRaises("doubleHidtMismatch", {location}, "H5Tcommit", file, "x", true);
  expectRaises("unmatchedHidtString", {std::string("H5T_NATIVE_INT"), location}, "H5Tcommit", file,
               "x", "H5T_NATIVE_INT");
  for (std::size_t i = 0; i < 3; ++i) {
    Arguments arguments = {file, "x", type, 0, 0, 0};
    const std::size_t place = i + 3;
    arguments[place] = "nonsense";
    auto error = failureOf("H5Tcommit", arguments);
    ASSERT_TRUE(error);
    EXPECT_EQ((*error)->key, "unmatchedString");
    EXPECT_EQ((*error)->parameters, (Parameters{std::string("nonsense"), lists[i]}));
    arguments[place] = true;
    error = failureOf("H5Tcommit", arguments);
    ASSERT_TRUE(error);
    EXPECT_EQ((*error)->key, "badPropertyListDatatype");
    EXPECT_EQ((*error)->parameters, (Parameters{lists[i], std::string("logical")}));
  }
  expectRaises("notString", {std::string("dataset name")}, "H5Topen", file, 1);
  expectRaises("notString", {std::string("dataset name")}, "H5Topen", file, 1, 0);
  expectRaises("unmatchedHidtString",
               {std::string("H5P_LINK_CREATE"), std::string("datatype access property list")},
               "H5Topen", file, "x", "H5P_LINK_CREATE");
  EXPECT_EQ(callNumber("H5Tcommitted", type), 0);
}

// --- Sizes ---------------------------------------------------------------------------

TEST(DatatypeSizes, AreBytesOrVariable) {
  const Owned type = make("H5Tcopy", "H5T_C_S1");
  call("H5Tset_size", type, 10);
  EXPECT_EQ(callNumber("H5Tget_size", type), 10);
  EXPECT_EQ(callNumber("H5Tis_variable_str", type), 0);
  call("H5Tset_size", type, "H5T_VARIABLE");
  EXPECT_EQ(callNumber("H5Tis_variable_str", type), 1);
  for (const char* word : {"h5t_variable", "H5T_VARIABLE ", "", "10"}) {
    expectRaises("sizeStringUnrecognized", {std::string(word)}, "H5Tset_size", type, word);
  }
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_size", type, -1);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_size", type, kTwo64);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_size", type, empty());
  expectLibraryError("H5Tset_size", type, 0);
}

TEST(DatatypeSizes, OfIntegersAreSetAsNumbersOfAnyClass) {
  const Owned type = make("H5Tcopy", "H5T_STD_I32LE");
  call("H5Tset_size", type, numeric(zbClass::Int8, {8}));
  EXPECT_EQ(callNumber("H5Tget_size", type), 8);
}

}  // namespace
