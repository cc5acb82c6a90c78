// Datatypes: general functions, properties of atomic ones, arrays, sequences,
// compounds, opaque data. Enumerations have a file of their own.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "tests/unit/owned.hpp"

namespace {

using namespace h5test;
using Numbers = std::vector<double>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwoTo64 = 18446744073709551616.0;
constexpr double kNoIdentifier = 99;

Owned copyOf(const char* name) { return make("H5Tcopy", name); }
Owned string(double size) { return make("H5Tcreate", "H5T_STRING", size); }
Owned variableString() {
  Owned type = copyOf("H5T_C_S1");
  call("H5Tset_size", type, "H5T_VARIABLE");
  return type;
}

/// A compound of a double "a", a big-endian short "b" and a string "c", with a gap.
Owned compound() {
  Owned type = make("H5Tcreate", "H5T_COMPOUND", 24);
  call("H5Tinsert", type, "a", 0, "H5T_IEEE_F64LE");
  call("H5Tinsert", type, "b", 12, "H5T_STD_I16BE");
  const Owned text = string(5);
  call("H5Tinsert", type, "c", 16, text);
  return type;
}

// --- What every function takes first ---------------------------------------------

struct Function {
  const char* name;
  Arguments rest;  // after the datatype
  const char* description = "datatype identifier";
};

/// Those whose first input may be named.
const std::vector<Function>& functionsOfNamedTypes() {
  static const std::vector<Function> all = {
      {"H5Tarray_create", {row({2})}, "base datatype identifier"},
      {"H5Tarray_create", {1, row({2})}, "base datatype identifier"},
      {"H5Tcommitted", {}},
      {"H5Tdetect_class", {"H5T_FLOAT"}},
      {"H5Tenum_create", {}},
      {"H5Tenum_insert", {"red", 1}},
      {"H5Tenum_nameof", {numeric(zbClass::Int32, {1})}},
      {"H5Tenum_valueof", {"red"}},
      {"H5Tequal", {"H5T_NATIVE_INT"}},
      {"H5Tget_array_dims", {}, "array datatype identifier"},
      {"H5Tget_array_ndims", {}},
      {"H5Tget_class", {}},
      {"H5Tget_cset", {}},
      {"H5Tget_ebias", {}},
      {"H5Tget_fields", {}},
      {"H5Tget_inpad", {}},
      {"H5Tget_member_class", {0}},
      {"H5Tget_member_index", {"a"}},
      {"H5Tget_member_name", {0}},
      {"H5Tget_member_offset", {0}},
      {"H5Tget_member_type", {0}},
      {"H5Tget_member_value", {0}},
      {"H5Tget_native_type", {"H5T_DIR_DEFAULT"}},
      {"H5Tget_nmembers", {}},
      {"H5Tget_norm", {}},
      {"H5Tget_offset", {}},
      {"H5Tget_order", {}},
      {"H5Tget_pad", {}},
      {"H5Tget_precision", {}},
      {"H5Tget_sign", {}},
      {"H5Tget_size", {}},
      {"H5Tget_strpad", {}},
      {"H5Tget_super", {}},
      {"H5Tget_tag", {}},
      {"H5Tinsert", {"a", 0, "H5T_NATIVE_INT"}},
      {"H5Tis_variable_str", {}},
      {"H5Tlock", {}},
      {"H5Tpack", {}},
      {"H5Tset_cset", {0}},
      {"H5Tset_ebias", {1}},
      {"H5Tset_fields", {1, 2, 3, 4, 5}},
      {"H5Tset_inpad", {0}},
      {"H5Tset_norm", {0}},
      {"H5Tset_offset", {0}},
      {"H5Tset_order", {0}},
      {"H5Tset_pad", {0, 0}},
      {"H5Tset_precision", {8}},
      {"H5Tset_sign", {0}},
      {"H5Tset_strpad", {0}},
      {"H5Tset_tag", {"tag"}},
      {"H5Tvlen_create", {}},
  };
  return all;
}

/// Those whose first input is an identifier, of which only "H5P_DEFAULT" is a name.
const std::vector<Function>& functionsOfIdentifiers() {
  static const std::vector<Function> all = {
      {"H5Tclose", {}},
      {"H5Tget_create_plist", {}},
      {"H5Tset_size", {4}},
      {"H5Tcommit", {"name", 1}, "location identifier"},
      {"H5Tcommit", {"name", 1, 0, 0, 0}, "location identifier"},
      {"H5Topen", {"name"}, "location identifier"},
      {"H5Topen", {"name", 0}, "location identifier"},
  };
  return all;
}

std::shared_ptr<const zembra::HostError> failureOn(const Function& function,
                                                   const Argument& first) {
  Arguments arguments = {first};
  arguments.insert(arguments.end(), function.rest.begin(), function.rest.end());
  return failureOf(function.name, arguments);
}

void expectFailure(const Function& function, const Argument& first, std::string_view key,
                   const std::vector<Parameter>& parameters) {
  const auto error = failureOn(function, first);
  if (!error) return;
  EXPECT_EQ((*error)->key, key) << function.name << ": " << error->what();
  EXPECT_EQ((*error)->parameters, parameters) << function.name << ": " << error->what();
}

TEST(Datatypes, AreNamedLetterByLetter) {
  for (const Function& function : functionsOfNamedTypes()) {
    for (const char* name : {"h5t_native_int", "H5T_NATIVE_INT ", ""}) {
      expectFailure(function, name, "constantNotFound", {std::string(name)});
    }
  }
}

TEST(Datatypes, AreDoublesObjectsOrNames) {
  for (const Value& other : h5test::strangers()) {
    for (const Function& function : functionsOfNamedTypes()) {
      expectFailure(function, other, "doubleDatatypeHidtMismatch",
                    {std::string(function.description)});
    }
    for (const Function& function : functionsOfIdentifiers()) {
      expectFailure(function, other, "doubleHidtMismatch", {std::string(function.description)});
    }
    expectRaises("doubleHidtMismatch", {std::string("location identifier")}, "H5Tcopy", other);
  }
}

TEST(Datatypes, AreNotNamedWhereAnIdentifierIsTaken) {
  for (const Function& function : functionsOfIdentifiers()) {
    expectFailure(function, "H5T_NATIVE_INT", "unmatchedHidtString",
                  {std::string("H5T_NATIVE_INT"), std::string(function.description)});
  }
}

TEST(Datatypes, ThatAreNoneFailInHdf5) {
  std::vector<Function> functions = functionsOfNamedTypes();
  functions.insert(functions.end(), functionsOfIdentifiers().begin(),
                   functionsOfIdentifiers().end());
  for (const Function& function : functions) {
    const std::string name = function.name;
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
  const Owned type = copyOf("H5T_STD_I16BE");
  EXPECT_EQ(callNumber("H5Tget_size", h5test::identifier(type.id())), 2);
  call("H5Tset_size", h5test::identifier(type.id()), 4);
  EXPECT_EQ(callNumber("H5Tget_size", type), 4);
  const Owned copy = make("H5Tcopy", h5test::identifier(type.id()));
  EXPECT_EQ(callNumber("H5Tequal", copy, type), 1);
}

// --- General ---------------------------------------------------------------------

TEST(Datatypes, AreCopiedByNameAndByIdentifier) {
  const Owned named = copyOf("H5T_NATIVE_DOUBLE");
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
  const Owned type = compound();
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
  const Owned type = copyOf("H5T_STD_I16BE");
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
  const Owned type = copyOf("H5T_STD_I16BE");
  EXPECT_EQ(callNumber("H5Tcommitted", type), 0);
  EXPECT_EQ(call("H5Tcommit", file, "short", type).size(), 0U);
  EXPECT_EQ(callNumber("H5Tcommitted", type), 1);
  const Owned other = copyOf("H5T_STD_U8LE");
  call("H5Tcommit", file, "byte", other, "H5P_DEFAULT", "H5P_DEFAULT", "H5P_DEFAULT");

  const Owned opened = make("H5Topen", file, "short");
  EXPECT_EQ(callNumber("H5Tequal", opened, type), 1);
  const Owned openedWithList = make("H5Topen", file, "byte", "H5P_DEFAULT");
  EXPECT_EQ(callNumber("H5Tequal", openedWithList, other), 1);
  const Owned list = make("H5Tget_create_plist", opened);
  EXPECT_GT(H5Pisa_class(list.get(), H5P_DATATYPE_CREATE), 0);

  expectLibraryError("H5Tcommit", file, "short", type);
  expectLibraryError("H5Topen", file, "long");
  expectLibraryError("H5Topen", file, "long", 0);
}

TEST(Datatypes, AreCommittedWithLists) {
  const MemoryFile file;
  const Owned type = copyOf("H5T_STD_I16BE");
  const Owned links(H5Pcreate(H5P_LINK_CREATE));
  H5Pset_create_intermediate_group(links.get(), 1);
  call("H5Tcommit", file, "a/b/short", type, links, "H5P_DEFAULT", "H5P_DEFAULT");
  const Owned opened = make("H5Topen", file, "a/b/short");
  EXPECT_EQ(callNumber("H5Tequal", opened, type), 1);
}

TEST(Datatypes, AreCommittedWithEachInputAsItIsDescribed) {
  const MemoryFile file;
  const Owned type = copyOf("H5T_STD_I16BE");
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
    EXPECT_EQ((*error)->parameters, (std::vector<Parameter>{std::string("nonsense"), lists[i]}));
    arguments[place] = true;
    error = failureOf("H5Tcommit", arguments);
    ASSERT_TRUE(error);
    EXPECT_EQ((*error)->key, "badPropertyListDatatype");
    EXPECT_EQ((*error)->parameters, (std::vector<Parameter>{lists[i], std::string("logical")}));
  }
  expectRaises("notString", {std::string("dataset name")}, "H5Topen", file, 1);
  expectRaises("notString", {std::string("dataset name")}, "H5Topen", file, 1, 0);
  expectRaises("unmatchedHidtString",
               {std::string("H5P_LINK_CREATE"), std::string("datatype access property list")},
               "H5Topen", file, "x", "H5P_LINK_CREATE");
  EXPECT_EQ(callNumber("H5Tcommitted", type), 0);
}

// --- Sizes -----------------------------------------------------------------------

TEST(DatatypeSizes, AreBytesOrVariable) {
  const Owned type = copyOf("H5T_C_S1");
  call("H5Tset_size", type, 10);
  EXPECT_EQ(callNumber("H5Tget_size", type), 10);
  EXPECT_EQ(callNumber("H5Tis_variable_str", type), 0);
  call("H5Tset_size", type, "H5T_VARIABLE");
  EXPECT_EQ(callNumber("H5Tis_variable_str", type), 1);
  for (const char* word : {"h5t_variable", "H5T_VARIABLE ", "", "10"}) {
    expectRaises("sizeStringUnrecognized", {std::string(word)}, "H5Tset_size", type, word);
  }
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_size", type, -1);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_size", type, kTwoTo64);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_size", type, empty());
  expectLibraryError("H5Tset_size", type, 0);
}

TEST(DatatypeSizes, OfIntegersAreSetAsNumbersOfAnyClass) {
  const Owned type = copyOf("H5T_STD_I32LE");
  call("H5Tset_size", type, numeric(zbClass::Int8, {8}));
  EXPECT_EQ(callNumber("H5Tget_size", type), 8);
}

// --- Atomic datatypes ------------------------------------------------------------

/// A property that is set by name or by number and told as a number.
struct Property {
  const char* get;
  const char* set;
  const char* type;
  std::vector<const char*> names;
};

TEST(AtomicDatatypes, HaveEnumeratedProperties) {
  const Property properties[] = {
      {"H5Tget_order", "H5Tset_order", "H5T_STD_I32LE", {"H5T_ORDER_LE", "H5T_ORDER_BE"}},
      {"H5Tget_sign", "H5Tset_sign", "H5T_STD_I32LE", {"H5T_SGN_NONE", "H5T_SGN_2"}},
      {"H5Tget_cset", "H5Tset_cset", "H5T_C_S1", {"H5T_CSET_ASCII", "H5T_CSET_UTF8"}},
      {"H5Tget_strpad",
       "H5Tset_strpad",
       "H5T_C_S1",
       {"H5T_STR_NULLTERM", "H5T_STR_NULLPAD", "H5T_STR_SPACEPAD"}},
      {"H5Tget_norm",
       "H5Tset_norm",
       "H5T_IEEE_F64LE",
       {"H5T_NORM_IMPLIED", "H5T_NORM_MSBSET", "H5T_NORM_NONE"}},
      {"H5Tget_inpad",
       "H5Tset_inpad",
       "H5T_IEEE_F64LE",
       {"H5T_PAD_ZERO", "H5T_PAD_ONE", "H5T_PAD_BACKGROUND"}},
  };
  for (const Property& property : properties) {
    const Owned type = copyOf(property.type);
    const auto count = static_cast<std::int64_t>(property.names.size());
    for (int number = static_cast<int>(count) - 1; number >= 0; --number) {
      call(property.set, type, property.names[static_cast<std::size_t>(number)]);
      EXPECT_EQ(callNumber(property.get, type), number) << property.set;
    }
    for (int number = static_cast<int>(count) - 1; number >= 0; --number) {
      call(property.set, type, number);
      EXPECT_EQ(callNumber(property.get, type), number) << property.set;
    }
    expectRaises("unmatchedStringNoParam", {std::string("nonsense")}, property.set, type,
                 "nonsense");
    expectRaises("badEnumInputType", {}, property.set, type, row({0, 1}));
    expectLibraryError(property.set, property.type, 0);  // immutable
  }
}

TEST(AtomicDatatypes, RefuseOrdersThatAreNone) {
  const Owned type = copyOf("H5T_STD_I32LE");
  expectRaises("badEnumNumericInput", {std::int64_t{4}, std::int64_t{4}}, "H5Tset_order", type, 4);
  expectLibraryError("H5Tset_order", type, 3);
}

TEST(AtomicDatatypes, OfAnotherClassHaveNoSuchProperty) {
  expectLibraryError("H5Tget_sign", "H5T_C_S1");
  expectLibraryError("H5Tget_norm", "H5T_NATIVE_INT");
  expectLibraryError("H5Tget_strpad", "H5T_NATIVE_INT");
  expectLibraryError("H5Tget_inpad", "H5T_NATIVE_INT");
  expectLibraryError("H5Tget_ebias", "H5T_NATIVE_INT");
  expectLibraryError("H5Tget_fields", "H5T_NATIVE_INT");
  const Owned type = compound();
  expectLibraryError("H5Tget_precision", type);
  expectLibraryError("H5Tget_offset", type);
  expectLibraryError("H5Tget_pad", type);
  EXPECT_EQ(callNumber("H5Tget_cset", "H5T_NATIVE_INT"), -1);
}

TEST(AtomicDatatypes, HavePrecisionAndOffset) {
  const Owned type = copyOf("H5T_STD_U32LE");
  call("H5Tset_precision", type, 12);
  call("H5Tset_offset", type, 5);
  EXPECT_EQ(callNumber("H5Tget_precision", type), 12);
  EXPECT_EQ(callNumber("H5Tget_offset", type), 5);
  for (const Value& other : {numeric(zbClass::Int32, {8}), row({8, 8}), h5test::text("8"),
                             h5test::logical(true), empty()}) {
    expectRaises("notDoublePrecision", {std::string("PREC")}, "H5Tset_precision", type, other);
  }
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_precision", type, -1);
  expectLibraryError("H5Tset_precision", type, 0);
  call("H5Tset_offset", type, numeric(zbClass::Int8, {2}));
  EXPECT_EQ(callNumber("H5Tget_offset", type), 2);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_offset", type, -1);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_offset", type, 4294967296.0);
}

TEST(AtomicDatatypes, HaveAnExponentBias) {
  const Owned type = copyOf("H5T_IEEE_F32LE");
  EXPECT_EQ(callNumber("H5Tget_ebias", type), 127);
  call("H5Tset_ebias", type, 100.9);
  EXPECT_EQ(callNumber("H5Tget_ebias", type), 100);
  for (const Value& other : {numeric(zbClass::Single, {8}), row({8, 8}), h5test::text("8"),
                             h5test::logical(true), empty()}) {
    expectRaises("notDoublePrecision", {std::string("EBIAS")}, "H5Tset_ebias", type, other);
  }
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_ebias", type, 1e20);
  // No failure is told apart from a bias of zero.
  call("H5Tset_ebias", type, 0);
  expectLibraryError("H5Tget_ebias", type);
}

TEST(AtomicDatatypes, HaveFields) {
  const Owned type = copyOf("H5T_IEEE_F64LE");
  Numbers fields;
  for (const Value& field : call("H5Tget_fields", type)) fields.push_back(numberOf(field));
  EXPECT_EQ(fields, (Numbers{63, 52, 11, 0, 52}));
  call("H5Tset_fields", type, 60, 50, 10, 1, 49);
  fields.clear();
  for (const Value& field : call("H5Tget_fields", type)) fields.push_back(numberOf(field));
  EXPECT_EQ(fields, (Numbers{60, 50, 10, 1, 49}));
  expectLibraryError("H5Tset_fields", type, 60, 50, 20, 1, 49);  // they overlap
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_fields", type, 60, 50, 10, 1, -1);
}

TEST(AtomicDatatypes, HavePaddingOnBothSides) {
  const Owned type = copyOf("H5T_STD_I32LE");
  call("H5Tset_pad", type, "H5T_PAD_ONE", "H5T_PAD_BACKGROUND");
  Results pads = call("H5Tget_pad", type);
  ASSERT_EQ(pads.size(), 2U);
  EXPECT_EQ(numberOf(pads[0]), H5T_PAD_ONE);
  EXPECT_EQ(numberOf(pads[1]), H5T_PAD_BACKGROUND);
  call("H5Tset_pad", type, 0, 1);
  pads = call("H5Tget_pad", type);
  EXPECT_EQ(numberOf(pads[0]), H5T_PAD_ZERO);
  EXPECT_EQ(numberOf(pads[1]), H5T_PAD_ONE);
  expectRaises("badEnumNumericInput", {std::int64_t{3}, std::int64_t{3}}, "H5Tset_pad", type, 0, 3);
}

TEST(AtomicDatatypes, TellNoCharacterSetButTwo) {
  // HDF5 sets no other, but a file may say so.
  const Owned type = copyOf("H5T_C_S1");
  unsigned char encoded[64];
  std::size_t size = sizeof encoded;
  ASSERT_GE(H5Tencode(type.get(), encoded, &size), 0);
  bool found = false;
  for (std::size_t i = 0; i < size && !found; ++i) {
    // The high half of a string's first flag byte is its character set.
    const unsigned char before = encoded[i];
    encoded[i] = static_cast<unsigned char>(before | 0x20);
    const hid_t decoded = H5Tdecode(encoded);
    if (decoded >= 0 && H5Tget_cset(decoded) == H5T_CSET_RESERVED_2) {
      found = true;
      EXPECT_EQ(call("H5Tget_cset", h5gate::identifierToHost(decoded)).size(), 0U);
    }
    if (decoded >= 0) H5Tclose(decoded);
    encoded[i] = before;
  }
  EXPECT_TRUE(found) << "no byte of an encoded string datatype holds its character set";
}

// --- Arrays ----------------------------------------------------------------------

TEST(ArrayDatatypes, KeepTheOrderOfTheirExtents) {
  const Owned types[] = {
      make("H5Tarray_create", "H5T_NATIVE_INT", row({2, 3})),
      make("H5Tarray_create", "H5T_NATIVE_INT", 2, row({2, 3})),
      make("H5Tarray_create", "H5T_NATIVE_INT", 2, row({2, 3}), "anything"),
      make("H5Tarray_create", "H5T_NATIVE_INT", h5test::column({2, 3})),
      make("H5Tarray_create", "H5T_NATIVE_INT", 2.9, row({2.9, 3.1}), h5test::cell({}))};
  for (const Owned& type : types) {
    EXPECT_EQ(callNumber("H5Tget_array_ndims", type), 2);
    const Value dims = result("H5Tget_array_dims", type);
    EXPECT_EQ(classOf(dims), zbClass::Double);
    EXPECT_EQ(shapeOf(dims), (Shape{1, 2}));
    EXPECT_EQ(numbersOf(dims), (Numbers{2, 3}));
  }
}

TEST(ArrayDatatypes, TakeExtentsAsDoubles) {
  const std::string dims = "dims";
  for (const Value& other : {numeric(zbClass::Int32, {2, 3}), h5test::text("23"),
                             h5test::cell({h5test::number(2)}), h5test::logical(true)}) {
    expectRaises("notDoublePrecision", {dims}, "H5Tarray_create", "H5T_NATIVE_INT", other);
    expectRaises("notDoublePrecision", {dims}, "H5Tarray_create", "H5T_NATIVE_INT", 2, other);
    expectRaises("notDoublePrecision", {dims}, "H5Tarray_create", "H5T_NATIVE_INT", 2, other, 0);
  }
  for (const double extent : {-1.0, 1e20, kNaN}) {
    expectRaises("numericCastError", {}, "H5Tarray_create", "H5T_NATIVE_INT", row({2, extent}));
    expectRaises("numericCastError", {}, "H5Tarray_create", "H5T_NATIVE_INT", 2, row({2, extent}));
  }
}

TEST(ArrayDatatypes, TakeARankThatFits) {
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tarray_create", "H5T_NATIVE_INT", -1, row({2}));
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tarray_create", "H5T_NATIVE_INT", 4294967296.0,
               row({2}));
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", 4294967295.0, row({2}));
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", 33, row({2}));
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", 0, row({2}));
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", empty());
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", row({2, 0}));
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", zembra::makeRow(Numbers(33, 1)));
  // A rank beyond the extents reads zeros, which HDF5 refuses.
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", 32, row({2}));
  // A rank below them takes the first.
  const Owned type = make("H5Tarray_create", "H5T_NATIVE_INT", 1, row({2, 3}));
  EXPECT_EQ(numbersOf(result("H5Tget_array_dims", type)), (Numbers{2}));
  const Owned largest = make("H5Tarray_create", "H5T_NATIVE_INT", zembra::makeRow(Numbers(32, 1)));
  EXPECT_EQ(callNumber("H5Tget_array_ndims", largest), 32);
}

TEST(ArrayDatatypes, AloneHaveARank) {
  expectRaises("datasetHasNoRank", {}, "H5Tget_array_dims", "H5T_NATIVE_INT");
  expectLibraryError("H5Tget_array_ndims", "H5T_NATIVE_INT");
}

TEST(ArrayDatatypes, TellLargeExtentsExactly) {
  const Owned type = make("H5Tarray_create", "H5T_NATIVE_CHAR", row({4294967296.0}));
  EXPECT_EQ(numbersOf(result("H5Tget_array_dims", type)), (Numbers{4294967296.0}));
}

// --- Sequences -------------------------------------------------------------------

TEST(Sequences, AreOfNumbersAndStrings) {
  for (const char* base : {"H5T_NATIVE_INT", "H5T_IEEE_F32BE", "H5T_C_S1"}) {
    const Owned type = make("H5Tvlen_create", base);
    EXPECT_EQ(callNumber("H5Tget_class", type), H5T_VLEN);
    const Owned super = make("H5Tget_super", type);
    EXPECT_EQ(callNumber("H5Tequal", super, base), 1);
  }
  const Owned text = variableString();
  const Owned texts = make("H5Tvlen_create", text);
  EXPECT_EQ(callNumber("H5Tget_class", texts), H5T_VLEN);
}

TEST(Sequences, AreOfNothingElse) {
  for (const double size : {2, 10}) {
    const Owned text = string(size);
    expectRaises("badVlstringSuperTypeCreate", {}, "H5Tvlen_create", text);
  }
  const Owned record = compound();
  const Owned array = make("H5Tarray_create", "H5T_NATIVE_INT", row({2}));
  const Owned sequence = make("H5Tvlen_create", "H5T_NATIVE_INT");
  const Owned opaque = make("H5Tcreate", "H5T_OPAQUE", 1);
  for (const Owned* base : {&record, &array, &sequence, &opaque}) {
    expectRaises("badVlenSuperTypeCreate", {}, "H5Tvlen_create", *base);
  }
  for (const char* base : {"H5T_STD_REF_OBJ", "H5T_STD_B8LE", "H5T_UNIX_D32LE", "H5S_ALL"}) {
    expectRaises("badVlenSuperTypeCreate", {}, "H5Tvlen_create", base);
  }
}

// --- Compounds -------------------------------------------------------------------

TEST(Compounds, HaveMembers) {
  const Owned type = compound();
  EXPECT_EQ(callNumber("H5Tget_nmembers", type), 3);
  EXPECT_EQ(callText("H5Tget_member_name", type, 1), "b");
  EXPECT_EQ(callNumber("H5Tget_member_index", type, "c"), 2);
  EXPECT_EQ(callNumber("H5Tget_member_class", type, 1), H5T_INTEGER);
  EXPECT_EQ(callNumber("H5Tget_member_offset", type, 1), 12);
  EXPECT_EQ(callNumber("H5Tget_member_offset", type, 0), 0);
  const Owned member = make("H5Tget_member_type", type, 1);
  EXPECT_EQ(callNumber("H5Tequal", member, "H5T_STD_I16BE"), 1);

  for (const char* query : {"H5Tget_member_name", "H5Tget_member_class", "H5Tget_member_offset",
                            "H5Tget_member_type"}) {
    expectLibraryError(query, type, 3);
    expectLibraryError(query, type, 4294967295.0);
    expectRaises("scalarValueInputOutOfRange", {}, query, type, -1);
    expectRaises("scalarValueInputOutOfRange", {}, query, type, 4294967296.0);
    expectRaises("scalarValueInputOutOfRange", {}, query, type, "0");
    expectLibraryError(query, "H5T_NATIVE_INT", 0);
  }
  expectLibraryError("H5Tget_member_index", type, "d");
  expectRaises("notString", {std::string("member name")}, "H5Tget_member_index", type, 0);
  expectLibraryError("H5Tget_nmembers", "H5T_NATIVE_INT");
}

TEST(Compounds, ArePacked) {
  const Owned type = compound();
  EXPECT_EQ(call("H5Tpack", type).size(), 0U);
  EXPECT_EQ(callNumber("H5Tget_size", type), 15);
  EXPECT_EQ(callNumber("H5Tget_member_offset", type, 2), 10);
  expectLibraryError("H5Tpack", "H5T_NATIVE_INT");
}

TEST(Compounds, TakeMembersThatFit) {
  const Owned type = compound();
  expectLibraryError("H5Tinsert", type, "d", 22, "H5T_NATIVE_DOUBLE");
  expectLibraryError("H5Tinsert", type, "a", 8, "H5T_STD_I32LE");
  expectRaises("notString", {std::string("member name")}, "H5Tinsert", type, 1, 8, "H5T_STD_I32LE");
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tinsert", type, "d", -1, "H5T_STD_I32LE");
  expectRaises("constantNotFound", {std::string("int")}, "H5Tinsert", type, "d", 8, "int");
  expectRaises("doubleDatatypeHidtMismatch", {std::string("datatype identifier")}, "H5Tinsert",
               type, "d", 8, true);
  call("H5Tinsert", type, "d", 8, "H5T_STD_I32LE");
  EXPECT_EQ(callNumber("H5Tget_nmembers", type), 4);
}

TEST(Compounds, ReportTheFirstBadInput) {
  expectRaises("constantNotFound", {std::string("first")}, "H5Tinsert", "first", 1, -1, "last");
  expectRaises("notString", {std::string("member name")}, "H5Tinsert", kNoIdentifier, 1, -1,
               "last");
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tinsert", kNoIdentifier, "x", -1, "last");
  expectRaises("constantNotFound", {std::string("last")}, "H5Tinsert", kNoIdentifier, "x", 0,
               "last");
}

TEST(Compounds, HaveMembersNamedInUtf8) {
  const Owned type = make("H5Tcreate", "H5T_COMPOUND", 4);
  call("H5Tinsert", type, "größe", 0, "H5T_STD_I32LE");
  EXPECT_EQ(callText("H5Tget_member_name", type, 0), "größe");
}

// --- Opaque data -----------------------------------------------------------------

TEST(OpaqueDatatypes, HaveTags) {
  const Owned type = make("H5Tcreate", "H5T_OPAQUE", 4);
  EXPECT_EQ(callText("H5Tget_tag", type), "");
  call("H5Tset_tag", type, "four bytes");
  EXPECT_EQ(callText("H5Tget_tag", type), "four bytes");
  expectRaises("notString", {std::string("tag")}, "H5Tset_tag", type, 4);
  expectLibraryError("H5Tset_tag", type, std::string(256, 'x'));
  expectLibraryError("H5Tset_tag", "H5T_NATIVE_INT", "x");
  expectLibraryError("H5Tget_tag", "H5T_NATIVE_INT");
}

}  // namespace
