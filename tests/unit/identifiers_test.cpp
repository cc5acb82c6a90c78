// Identifiers: what each converter takes and refuses, and the numbers that scripts see.
#include "convert/identifiers.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "convert/constants.hpp"
#include "hdf5/handle.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/strangers.hpp"

namespace {

using namespace h5test;
namespace codec = h5gate::codec;

// --- The codec --------------------------------------------------------------------------

constexpr std::int64_t wide(std::int64_t type, std::int64_t serial) { return type << 56 | serial; }
constexpr std::int64_t kMillions = 1 << 24;  // serials from here on are large

// A small serial keeps the number that it had in 32 bits.
static_assert(codec::encode(wide(1, 0)) == 0x1000000);
static_assert(codec::encode(wide(5, 3)) == 0x5000003);
static_assert(codec::encode(wide(15, kMillions - 1)) == 0xFFFFFFF);
static_assert(codec::encode(wide(127, kMillions - 1)) == 0x7FFFFFFF);
static_assert(codec::encode(7) == 7);
// Of 1.8's types, whatever HDF5's own numbers of them are.
static_assert(codec::encode(wide(H5I_DATASET, 3)) == 0x5000003);
static_assert(codec::encode(wide(H5I_ATTR, 3)) == 0x6000003);
static_assert(codec::encode(wide(H5I_VFL, 3)) == 0x8000003);
static_assert(codec::encode(wide(H5I_GENPROP_CLS, 3)) == 0x9000003);
static_assert(codec::encode(wide(H5I_GENPROP_LST, 3)) == 0xA000003);
static_assert(codec::encode(wide(H5I_ERROR_STACK, 3)) == 0xD000003);
static_assert(codec::encode(wide(H5I_ATTR, kMillions)) ==
              (std::int64_t{1} << 52) + 6 * (std::int64_t{1} << 45) + kMillions);
// A large one moves to a range of its own that doubles hold exactly.
static_assert(codec::encode(wide(5, kMillions)) ==
              (std::int64_t{1} << 52) + 5 * (std::int64_t{1} << 45) + kMillions);
static_assert(codec::encode(wide(127, (std::int64_t{1} << 45) - 1)) == (std::int64_t{1} << 53) - 1);
// What is no identifier stays what it is.
static_assert(codec::encode(0) == 0 && codec::decode(0) == 0);
static_assert(codec::encode(-1) == -1 && codec::decode(-1) == -1);
static_assert(codec::decode(-2147483648) == -2147483648);

constexpr bool comesBack() {
  for (std::int64_t type = 1; type < 128; ++type) {
    for (const std::int64_t serial : {std::int64_t{0}, std::int64_t{1}, kMillions - 1, kMillions,
                                      kMillions + 1, (std::int64_t{1} << 45) - 1}) {
      if (codec::decode(codec::encode(wide(type, serial))) != wide(type, serial)) return false;
    }
  }
  return true;
}
static_assert(comesBack());

/// HDF5's own identifier of a small serial.
hid_t own(hid_t type, hid_t serial) {
  return type << (hdf5::kWideIdentifiers ? codec::kTypeShift : codec::kShortTypeShift) | serial;
}
constexpr hid_t kNone = -2147483648;

/// Numbers from scripts and the identifiers that they stand for.
const std::vector<std::pair<double, hid_t>>& numbers() {
  static const std::vector<std::pair<double, hid_t>> all = {
      {0, 0},
      {3.7, 3},
      {-0.5, 0},
      {-1, -1},
      {-1.9, -1},
      {16777215, 16777215},
      {16777216, own(1, 0)},
      {0x5000003, own(5, 3)},
      {83886083.9, own(5, 3)},
      {2147483647, own(127, 0xFFFFFF)},
      {2147483647.9, own(127, 0xFFFFFF)},
      {2147483648.0, kNone},
      {-2147483648.0, kNone},
      {-2147483648.9, kNone},
      {-2147483649.0, kNone},
      {1e10, kNone},
      {-1e10, kNone},
      {1e300, kNone},
      {kInfinity, kNone},
      {-kInfinity, kNone},
      {kNaN, kNone},
      // Around the range of large serials; inside it only what a serial maps to.
      {4503599627370495.0, kNone},
      {4503599627370496.0, kNone},
      {4503599627370496.0 + 5 * 35184372088832.0 + 3, kNone},
      {4503599627370496.0 + 5 * 35184372088832.0 + 16777215, kNone},
      {9007199254740992.0, kNone},
  };
  return all;
}

TEST(Identifiers, ArePlainDoublesOnTheWayOut) {
  const Value value = result("H5Screate", "H5S_SCALAR");
  EXPECT_EQ(classOf(value), zbClass::Double);
  EXPECT_EQ(shapeOf(value), (Shape{1, 1}));
  EXPECT_EQ(std::floor(numberOf(value) / kMillions), H5I_DATASPACE);
  call("H5Sclose", value);
}

TEST(Identifiers, ReadTheNumbersOfScripts) {
  for (const auto& [number, id] : numbers()) {
    EXPECT_EQ(h5gate::identifierFromHost(number), id) << number;
  }
}

TEST(Identifiers, ReadTheNumbersOfLargeSerials) {
  if (!hdf5::kWideIdentifiers) GTEST_SKIP() << "identifiers of this release have 32 bits";
  for (const std::int64_t serial : {kMillions, kMillions + 1, (std::int64_t{1} << 45) - 1}) {
    const auto id = static_cast<hid_t>(wide(5, serial));
    EXPECT_EQ(h5gate::identifierFromHost(h5gate::identifierToHost(id)), id) << serial;
  }
}

TEST(Identifiers, ComeBackWhateverTheyName) {
  const MemoryFile file;
  const hid_t location = h5gate::identifierFromHost(file.id());
  const hdf5::Space space(H5Screate(H5S_SCALAR));
  const hdf5::Type type(H5Tcopy(H5T_NATIVE_INT));
  const hdf5::PropertyList list(H5Pcreate(H5P_DATASET_XFER));
  const hdf5::Handle<H5Gclose> group(
      H5Gcreate2(location, "g", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
  const hdf5::Handle<H5Dclose> dataset(
      H5Dcreate2(location, "d", type.get(), space.get(), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
  const hdf5::Handle<H5Aclose> attribute(
      H5Acreate2(location, "a", type.get(), space.get(), H5P_DEFAULT, H5P_DEFAULT));
  for (const hid_t id :
       {location, space.get(), type.get(), list.get(), group.get(), dataset.get(), attribute.get(),
        hid_t{H5T_NATIVE_DOUBLE}, hid_t{H5P_DATASET_CREATE}, H5FD_SEC2, H5E_ERR_CLS}) {
    const double number = h5gate::identifierToHost(id);
    const std::int64_t type18 = h5gate::codec::typeToHost(H5Iget_type(id));
    ASSERT_GT(type18, 0) << number;
    EXPECT_EQ(h5gate::identifierFromHost(number), id) << number;
    EXPECT_EQ(std::floor(number / kMillions), type18) << number;
    EXPECT_EQ(callNumber("H5Iget_type", number), type18) << number;
  }
}

// --- The converters ------------------------------------------------------------------------

struct Converter {
  std::string subject;
  hid_t (*get)(const zbArray*);
  std::string refused;  // for a value of class %: the key and its parameters

  [[nodiscard]] hid_t operator()(const Value& value) const { return get(value.get()); }
  friend void PrintTo(const Converter& converter, std::ostream* out) { *out << converter.subject; }
};

const std::vector<Converter>& converters() {
  using namespace h5gate;
  static const std::vector<Converter> all = {
      {"Object", [](const zbArray* array) { return getHidArg(array, "thing"); },
       "doubleHidtMismatch(thing)"},
      {"Datatype", [](const zbArray* array) { return getDatatypeHidArg(array, "thing"); },
       "doubleDatatypeHidtMismatch(thing)"},
      {"PropertyList", [](const zbArray* array) { return getPlistArg(array, "thing"); },
       "badPropertyListDatatype(thing,%)"},
      {"MemorySpace", getMemorySpaceArg, "doubleHidtMismatch(memory space identifier)"},
      {"FileSpace", getFileSpaceArg, "doubleHidtMismatch(file dataspace identifier)"},
      {"MemoryType", getMemoryTypeArg, "doubleHidtMismatch(memory type identifier)"},
  };
  return all;
}

std::string complaint(const Converter& converter, const Value& value) {
  return h5test::complaint([&] { static_cast<void>(converter(value)); });
}

class Identifying : public testing::TestWithParam<Converter> {};

INSTANTIATE_TEST_SUITE_P(, Identifying, testing::ValuesIn(converters()),
                         [](const auto& test) { return test.param.subject; });

TEST_P(Identifying, TakesDoubles) {
  for (const auto& [given, id] : numbers()) EXPECT_EQ(GetParam()(number(given)), id) << given;
}

TEST_P(Identifying, TakesTheFirstOfSeveralElements) {
  EXPECT_EQ(GetParam()(row({3, 4, 5})), 3);
  EXPECT_EQ(GetParam()(matrix(2, 2, {0x5000003, 1, 1, 1})), own(5, 3));
}

TEST_P(Identifying, TakesNoIdentifierForAnEmptyArray) {
  EXPECT_EQ(GetParam()(empty()), kNone);
  EXPECT_EQ(GetParam()(row({})), kNone);
}

TEST_P(Identifying, TakesIdentifierObjects) {
  for (const auto& [given, id] : numbers()) EXPECT_EQ(GetParam()(identifier(given)), id) << given;
}

TEST_P(Identifying, TakesWhateverNumberAnIdentifierObjectHolds) {
  const auto holding = [](Value value) {
    return zembra::makeObject("H5ZB.id", {{"other", number(9)}, {"identifier", std::move(value)}});
  };
  EXPECT_EQ(GetParam()(holding(numeric(zbClass::Int32, {0x5000003}))), own(5, 3));
  EXPECT_EQ(GetParam()(holding(numeric(zbClass::Single, {3.7}))), 3);
  EXPECT_EQ(GetParam()(holding(numeric(zbClass::UInt64, {3, 4}))), 3);
  EXPECT_EQ(GetParam()(holding(logical(true))), 1);
}

TEST_P(Identifying, FindsNoIdentifierInAnObjectWithoutANumber) {
  const auto holding = [](const char* property, Value value) {
    return zembra::makeObject("H5ZB.id", {{property, std::move(value)}});
  };
  for (const Value& object :
       {zembra::makeObject("H5ZB.id", {}), holding("Identifier", number(1)),
        holding("identifier", text("1")), holding("identifier", empty()),
        holding("identifier", cell({number(1)})), holding("identifier", structure({})),
        holding("identifier", identifier(1))}) {
    EXPECT_LT(GetParam()(object), 0);
  }
}

TEST_P(Identifying, TakesNothingElse) {
  std::vector<Value> others = strangers();
  for (const char* name : {"", "H5ZB.i", "H5ZB.id2", "h5zb.id", "H5ZB.id ", "double", "char"}) {
    others.push_back(zembra::makeObject(name, {{"identifier", number(1)}}));
  }
  others.push_back(zembra::makeForeign({}));
  for (const Value& other : others) {
    std::string expected = GetParam().refused;
    if (const auto place = expected.find('%'); place != std::string::npos) {
      expected.replace(place, 1, zbGetClassName(other.get()));
    }
    EXPECT_EQ(complaint(GetParam(), other), expected);
  }
}

TEST_P(Identifying, TakesNoNameWithANulInside) {
  EXPECT_EQ(complaint(GetParam(), text(std::string_view("H5P_DEFAULT\0", 12))), "embeddedNull");
}

// --- Names ------------------------------------------------------------------------------------

const Converter& converter(std::string_view subject) {
  for (const Converter& known : converters()) {
    if (known.subject == subject) return known;
  }
  throw std::invalid_argument(std::string(subject));
}

TEST(IdentifierNames, OfObjectsAreTheDefaultListOnly) {
  const Converter& object = converter("Object");
  EXPECT_EQ(object(text("H5P_DEFAULT")), H5P_DEFAULT);
  for (const std::string name : {"", "h5p_default", "H5P_DEFAULT ", " H5P_DEFAULT", "H5P_DEFAUL",
                                 "H5S_ALL", "H5P_FILE_ACCESS", "H5T_NATIVE_INT", "0"}) {
    EXPECT_EQ(complaint(object, text(name)), "unmatchedHidtString(" + name + ",thing)");
  }
}

TEST(IdentifierNames, OfDatatypesAreAllConstants) {
  for (const char* subject : {"Datatype", "MemoryType"}) {
    const Converter& datatype = converter(subject);
    EXPECT_EQ(datatype(text("H5P_DEFAULT")), 0);
    EXPECT_EQ(datatype(text("H5S_ALL")), 0);
    EXPECT_EQ(datatype(text("H5T_NATIVE_DOUBLE")), H5T_NATIVE_DOUBLE);
    EXPECT_EQ(datatype(text("H5T_STD_I32LE")), H5T_STD_I32LE);
    EXPECT_EQ(datatype(text("H5F_ACC_TRUNC")), 2);
    for (const std::string_view name : h5gate::constantNames()) {
      const auto number = static_cast<double>(h5gate::constantValue(name));
      EXPECT_EQ(datatype(text(name)), h5gate::identifierFromHost(number)) << name;
    }
    for (const std::string name : {"", "h5t_native_double", "H5T_NATIVE_DOUBLE ", "double"}) {
      EXPECT_EQ(complaint(datatype, text(name)), "constantNotFound(" + name + ")");
    }
  }
}

TEST(IdentifierNames, OfPropertyListsAreTheirClasses) {
  const Converter& list = converter("PropertyList");
  const std::vector<std::pair<const char*, hid_t>> classes = {
      {"H5P_DEFAULT", H5P_DEFAULT},
      {"H5P_OBJECT_CREATE", H5P_OBJECT_CREATE},
      {"H5P_FILE_CREATE", H5P_FILE_CREATE},
      {"H5P_FILE_ACCESS", H5P_FILE_ACCESS},
      {"H5P_DATASET_CREATE", H5P_DATASET_CREATE},
      {"H5P_DATASET_ACCESS", H5P_DATASET_ACCESS},
      {"H5P_DATASET_XFER", H5P_DATASET_XFER},
      {"H5P_FILE_MOUNT", H5P_FILE_MOUNT},
      {"H5P_GROUP_CREATE", H5P_GROUP_CREATE},
      {"H5P_GROUP_ACCESS", H5P_GROUP_ACCESS},
      {"H5P_DATATYPE_CREATE", H5P_DATATYPE_CREATE},
      {"H5P_DATATYPE_ACCESS", H5P_DATATYPE_ACCESS},
      {"H5P_STRING_CREATE", H5P_STRING_CREATE},
      {"H5P_ATTRIBUTE_CREATE", H5P_ATTRIBUTE_CREATE},
      {"H5P_OBJECT_COPY", H5P_OBJECT_COPY},
      {"H5P_LINK_CREATE", H5P_LINK_CREATE},
      {"H5P_LINK_ACCESS", H5P_LINK_ACCESS},
  };
  for (const auto& [name, id] : classes) {
    EXPECT_EQ(list(text(name)), id) << name;
    const std::string longer = name + std::string("_DEFAULT");
    EXPECT_EQ(complaint(list, text(longer)), "unmatchedString(" + longer + ",thing)");
  }
  for (const std::string name : {"", "h5p_default", "H5P_FILE_ACCESS ", "H5P_ROOT", "H5S_ALL"}) {
    EXPECT_EQ(complaint(list, text(name)), "unmatchedString(" + name + ",thing)");
  }
}

TEST(IdentifierNames, OfSpacesAreAll) {
  EXPECT_EQ(converter("MemorySpace")(text("H5S_ALL")), H5S_ALL);
  EXPECT_EQ(converter("FileSpace")(text("H5S_ALL")), H5S_ALL);
  for (const char* name : {"", "h5s_all", "H5S_ALL ", "H5P_DEFAULT", "H5S_SCALAR"}) {
    EXPECT_EQ(complaint(converter("MemorySpace"), text(name)), "memSpaceIdStringMatchFailure");
    EXPECT_EQ(complaint(converter("FileSpace"), text(name)), "noStringMatchForSpaceId");
  }
}

// --- Through the gateway --------------------------------------------------------------------

TEST(Identifiers, ReachHdf5AsNumberAndAsObject) {
  const double space = callNumber("H5Screate", "H5S_SCALAR");
  EXPECT_EQ(callNumber("H5Iis_valid", space), 1);
  EXPECT_EQ(callNumber("H5Iis_valid", space + 0.5), 1);
  EXPECT_EQ(callNumber("H5Iget_type", identifier(space)), H5I_DATASPACE);
  call("H5Sclose", identifier(space));
  EXPECT_EQ(callNumber("H5Iis_valid", space), 0);
}

TEST(Identifiers, AreRefusedByHdf5WhenTheyAreNone) {
  for (const double none : {1e10, -1.0, 0.0, 4503599627370496.0, kNaN, kInfinity}) {
    expectLibraryError("H5Sclose", none);
    expectLibraryError("H5Sclose", identifier(none));
  }
  expectLibraryError("H5Sclose", zembra::makeObject("H5ZB.id", {}));
  expectLibraryError("H5Sclose", "H5P_DEFAULT");
}

}  // namespace
