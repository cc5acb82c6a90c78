// Attributes: making, opening, listing, reading and writing them. What happens when
// host functions are called about them stands in callbacks_test.cpp.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/unit/datatypes.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/spaces.hpp"
#include "tests/unit/strangers.hpp"
#include "tests/unit/structures.hpp"

namespace {

using namespace h5test;

const std::string kAttribute = "attribute identifier";
const std::string kName = "attribute name";
const std::string kCreationList = "attribute creation property list identifier";
const std::string kAccessList = "attribute access property list identifier";
const std::string kLinkList = "link access property list identifier";

/// A file whose root has the attributes.
class Attributes : public testing::Test {
 protected:
  [[nodiscard]] Owned create(const char* name, const Argument& type = "H5T_STD_I32LE") const {
    return createIn(scalarSpace(), name, type);
  }
  [[nodiscard]] Owned createIn(const Owned& space, const char* name, const Argument& type) const {
    return make("H5Acreate", file, name, type.array, space, kDefault);
  }
  [[nodiscard]] Owned createSimple(const char* name, const Argument& type,
                                   std::initializer_list<double> dims) const {
    return createIn(makeSpace(dims), name, type);
  }
  [[nodiscard]] static Value read(const Owned& attribute) {
    return result("H5Aread", attribute, kChosen);
  }
  static void write(const Owned& attribute, const Argument& data) {
    EXPECT_EQ(call("H5Awrite", attribute, kChosen, data.array).size(), 0U);
  }

  MemoryFile file;
  Owned root = make("H5Gopen", file, "/");  // attributes are counted on objects, not on files
};

// --- Making --------------------------------------------------------------------------

TEST_F(Attributes, AreMadeByFiveInputsOrSix) {
  const Owned space = makeSpace({2, 3});
  const Owned five = make("H5Acreate", file, "five", "H5T_IEEE_F64LE", space, kDefault);
  const Owned six = make("H5Acreate", file, "six", "H5T_STD_U8LE", space, kDefault, kDefault);
  EXPECT_EQ(callText("H5Aget_name", five), "five");
  EXPECT_EQ(callText("H5Aget_name", six), "six");
  EXPECT_EQ(callNumber("H5Aget_num_attrs", root), 2);
  const Owned type = make("H5Aget_type", six);
  EXPECT_EQ(callNumber("H5Tequal", type, "H5T_STD_U8LE"), 1);
  const Owned extent = make("H5Aget_space", five);
  EXPECT_EQ(numbersOf(call("H5Sget_simple_extent_dims", extent)[1]), (Numbers{2, 3}));
}

TEST_F(Attributes, NeverReadASixthInput) {
  const Owned space = scalarSpace();
  int count = 0;
  std::vector<Value> sixths = strangers();
  sixths.push_back(text("nonsense"));
  sixths.push_back(number(kNoIdentifier));
  sixths.push_back(empty());
  for (const Value& sixth : sixths) {
    const std::string name = "a" + std::to_string(count++);
    const Owned attribute = make("H5Acreate", file, name, "H5T_STD_U8LE", space, kDefault, sixth);
    EXPECT_EQ(callText("H5Aget_name", attribute), name);
  }
}

TEST_F(Attributes, TakeTheCreationListInBothForms) {
  const Owned space = scalarSpace();
  const Owned creation = makeList("H5P_ATTRIBUTE_CREATE");
  H5Pset_char_encoding(creation.get(), H5T_CSET_UTF8);
  const Owned five = make("H5Acreate", file, "five", "H5T_STD_U8LE", space, creation);
  const Owned six = make("H5Acreate", file, "six", "H5T_STD_U8LE", space, creation, 0);
  EXPECT_EQ(fieldNumber(result("H5Aget_info", five), "cset"), H5T_CSET_UTF8);
  EXPECT_EQ(fieldNumber(result("H5Aget_info", six), "cset"), H5T_CSET_UTF8);
}

TEST_F(Attributes, AreMadeOnceAndOfWhatExists) {
  const Owned space = scalarSpace();
  const Owned attribute = create("a");
  expectLibraryError("H5Acreate", file, "a", "H5T_STD_I32LE", space, kDefault);
  expectLibraryError("H5Acreate", file, "a", "H5T_STD_I32LE", space, kDefault, kDefault);
  expectLibraryError("H5Acreate", file, "b", "H5S_ALL", space, kDefault);
  expectLibraryError("H5Acreate", file, "b", "H5T_STD_I32LE", kNoIdentifier, kDefault);
  expectLibraryError("H5Acreate", attribute, "b", "H5T_STD_I32LE", space, kDefault);
  EXPECT_EQ(callNumber("H5Aget_num_attrs", root), 1);
}

TEST_F(Attributes, AreDeletedByName) {
  { const Owned attribute = create("a"); }
  EXPECT_EQ(call("H5Adelete", file, "a").size(), 0U);
  EXPECT_EQ(callNumber("H5Aget_num_attrs", root), 0);
  expectLibraryError("H5Adelete", file, "a");
  if (hdf5::kSince112) {
    EXPECT_EQ(callNumber("H5Aget_num_attrs", file), 0);
  } else {
    expectLibraryError("H5Aget_num_attrs", file);
  }
  expectLibraryError("H5Aget_num_attrs", kNoIdentifier);
}

TEST_F(Attributes, AreClosedOnce) {
  const Owned space = scalarSpace();
  const double attribute = callNumber("H5Acreate", file, "a", "H5T_STD_U8LE", space, kDefault);
  EXPECT_EQ(call("H5Aclose", attribute).size(), 0U);
  for (const char* query :
       {"H5Aclose", "H5Aget_info", "H5Aget_name", "H5Aget_space", "H5Aget_type"}) {
    expectLibraryError(query, attribute);
  }
}

// --- Opening -------------------------------------------------------------------------

TEST_F(Attributes, AreOpenedInEveryWay) {
  { const Owned a = create("a"), b = create("b"); }
  const auto nameOf = [](const Owned& attribute) { return callText("H5Aget_name", attribute); };
  EXPECT_EQ(nameOf(make("H5Aopen", file, "b", kDefault)), "b");
  EXPECT_EQ(nameOf(make("H5Aopen_name", file, "b")), "b");
  EXPECT_EQ(nameOf(make("H5Aopen_idx", file, 1)), "b");
  EXPECT_EQ(nameOf(make("H5Aopen_idx", file, numeric(zbClass::Int32, {0}))), "a");
  EXPECT_EQ(nameOf(make("H5Aopen_by_name", file, ".", "b", kDefault, kDefault)), "b");
  EXPECT_EQ(nameOf(make("H5Aopen_by_idx", file, ".", "H5_INDEX_NAME", "H5_ITER_DEC", 0, kDefault,
                        kDefault)),
            "b");
  EXPECT_EQ(nameOf(make("H5Aopen_by_idx", file, "/", 0, 0, 0.9, kDefault, kDefault)), "a");
}

TEST_F(Attributes, ThatAreNotThereFailToOpen) {
  expectLibraryError("H5Aopen", file, "a", kDefault);
  expectLibraryError("H5Aopen_name", file, "a");
  expectLibraryError("H5Aopen_idx", file, 0);
  expectLibraryError("H5Aopen_by_name", file, ".", "a", kDefault, kDefault);
  expectLibraryError("H5Aopen_by_name", file, "nowhere", "a", kDefault, kDefault);
  expectLibraryError("H5Aopen_by_idx", file, ".", 0, 0, 0, kDefault, kDefault);
}

TEST_F(Attributes, AreNumberedByDoublesWhereThePositionMayBeLarge) {
  const Owned a = create("a");
  const Parameters quoted = {std::string("\"index\"")};
  for (const Value& other : {numeric(zbClass::Int32, {0}), numeric(zbClass::Single, {0}),
                             row({0, 0}), empty(), text("0"), logical(false)}) {
    expectRaises("notDoublePrecision", quoted, "H5Aopen_by_idx", file, ".", 0, 0, other, kDefault,
                 kDefault);
  }
  expectRaises("scalarValueInputOutOfRange", {}, "H5Aopen_by_idx", file, ".", 0, 0, -1, kDefault,
               kDefault);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Aopen_idx", file, -1);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Aopen_idx", file, 4294967296.0);
  expectLibraryError("H5Aopen_by_idx", file, ".", 0, 0, 1e15, kDefault, kDefault);
  expectLibraryError("H5Aopen_idx", file, 4294967295.0);
}

// --- Descriptions --------------------------------------------------------------------

struct Described {
  const char* function;
  std::vector<std::string> inputs;  // empty for an enumeration, a position, whatever is not read
};

TEST_F(Attributes, NameTheInputThatIsWrong) {
  const std::string object = "object identifier";
  const std::string location = "location identifier";
  const std::string type = "datatype identifier";
  const std::string space = "attribute dataspace";
  const std::vector<Described> functions = {
      {"H5Aclose", {kAttribute}},
      {"H5Acreate", {kAttribute, kName, type, space, kCreationList}},
      {"H5Acreate", {kAttribute, kName, type, space, kCreationList, ""}},
      {"H5Adelete", {kAttribute, kName}},
      {"H5Aget_info", {kAttribute}},
      {"H5Aget_name", {kAttribute}},
      {"H5Aget_num_attrs", {kAttribute}},
      {"H5Aget_space", {kAttribute}},
      {"H5Aget_type", {kAttribute}},
      {"H5Aiterate", {location, "", ""}},
      {"H5Aiterate", {location, "", "", "", "", ""}},
      {"H5Aopen", {kAttribute, kName, kAccessList}},
      {"H5Aopen_by_idx", {kAttribute, kName, "", "", "", kAccessList, kLinkList}},
      {"H5Aopen_by_name", {location, "object name", kName, kAccessList, kLinkList}},
      {"H5Aopen_idx", {kAttribute, ""}},
      {"H5Aopen_name", {object, kName}},
      {"H5Aread", {kAttribute, ""}},
      {"H5Awrite", {kAttribute, "", ""}},
  };
  for (const Described& function : functions) {
    // From the first input on, each is wrong once while all before it are right.
    Arguments arguments(function.inputs.size(), Argument(true));
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      const std::string& description = function.inputs[i];
      const bool isText = description.ends_with("name");
      if (!description.empty()) {
        const auto error = failureOf(function.function, arguments);
        ASSERT_TRUE(error);
        const char* key = isText                ? "notString"
                          : description == type ? "doubleDatatypeHidtMismatch"
                                                : "doubleHidtMismatch";
        EXPECT_EQ((*error)->key, key) << function.function << " input " << i;
        EXPECT_EQ((*error)->parameters, Parameters{description}) << function.function;
      }
      arguments[i] = isText ? Argument("x") : Argument(0);
    }
  }
}

TEST_F(Attributes, HaveEnumerationsInOrder) {
  expectRaises("unmatchedStringNoParam", {std::string("first")}, "H5Aopen_by_idx", file, ".",
               "first", "second", "third", kDefault, kDefault);
  expectRaises("unmatchedStringNoParam", {std::string("second")}, "H5Aopen_by_idx", file, ".", 0,
               "second", "third", kDefault, kDefault);
  expectRaises("notDoublePrecision", {std::string("\"index\"")}, "H5Aopen_by_idx", file, ".", 0, 0,
               "third", true, kDefault);
  expectRaises("constantNotFound", {std::string("int")}, "H5Acreate", file, "x", "int", true, true);
}

// --- Names ---------------------------------------------------------------------------

TEST_F(Attributes, HaveNamesOfAnyLength) {
  for (const std::string& name :
       {std::string("a"), std::string(300, 'x'), std::string("größe"), std::string(5000, 'y')}) {
    const Owned attribute = create(name.c_str());
    EXPECT_EQ(callText("H5Aget_name", attribute), name);
  }
}

// --- Information ---------------------------------------------------------------------

TEST_F(Attributes, HaveInformation) {
  const Owned attribute = createSimple("a", "H5T_STD_I32LE", {2, 3});
  const Value info = result("H5Aget_info", attribute);
  EXPECT_EQ(shapeOf(info), (Shape{1, 1}));
  EXPECT_EQ(fieldNames(info), (Names{"corder_valid", "corder", "cset", "data_size"}));
  EXPECT_EQ(classOf(field(info, "corder_valid")), zbClass::Logical);
  EXPECT_EQ(numberOf(field(info, "corder_valid")), 0);
  EXPECT_EQ(fieldNumber(info, "corder"), 0);
  EXPECT_EQ(fieldNumber(info, "cset"), H5T_CSET_ASCII);
  EXPECT_EQ(fieldNumber(info, "data_size"), 24);
}

TEST_F(Attributes, HaveAnOrderWhereItIsTracked) {
  const Owned list = makeList("H5P_GROUP_CREATE");
  H5Pset_attr_creation_order(list.get(), H5P_CRT_ORDER_TRACKED | H5P_CRT_ORDER_INDEXED);
  const Owned group = make("H5Gcreate", file, "tracked", kDefault, list, kDefault);
  const Owned space = scalarSpace();
  for (const char* name : {"z", "y", "x"}) {
    make("H5Acreate", group, name, "H5T_STD_I32LE", space, kDefault);
  }
  const Owned second = make("H5Aopen_by_idx", group, ".", "H5_INDEX_CRT_ORDER", "H5_ITER_INC", 1,
                            kDefault, kDefault);
  EXPECT_EQ(callText("H5Aget_name", second), "y");
  const Value info = result("H5Aget_info", second);
  EXPECT_EQ(numberOf(field(info, "corder_valid")), 1);
  EXPECT_EQ(fieldNumber(info, "corder"), 1);
}

// --- Reading and writing -------------------------------------------------------------

TEST_F(Attributes, KeepWhatIsWritten) {
  const Owned numbers = createSimple("numbers", "H5T_IEEE_F64BE", {2, 3});
  write(numbers, matrix(3, 2, {1, 2, 3, 4, 5, 6}));
  const Value back = read(numbers);
  EXPECT_EQ(shapeOf(back), (Shape{3, 2}));
  EXPECT_EQ(numbersOf(back), (Numbers{1, 2, 3, 4, 5, 6}));

  const Owned small = create("small", "H5T_STD_I16LE");
  write(small, -7);
  EXPECT_EQ(classOf(read(small)), zbClass::Int16);
  EXPECT_EQ(numberOf(read(small)), -7);

  const Owned fixed = create("fixed", fixedText(5));
  write(fixed, "hello");
  EXPECT_EQ(textOf(read(fixed)), "hello");
}

TEST_F(Attributes, KeepVariableLengthData) {
  const Owned texts = createSimple("texts", variableText(), {2});
  write(texts, cell({text("one"), text("three")}));
  const Value back = read(texts);
  EXPECT_EQ(classOf(back), zbClass::Cell);
  EXPECT_EQ(textOf(element(back, 0)), "one");
  EXPECT_EQ(textOf(element(back, 1)), "three");
}

TEST_F(Attributes, TakeMemoryDatatypesByNameAndByIdentifier) {
  const Owned attribute = create("a", "H5T_STD_I32BE");
  call("H5Awrite", attribute, "H5T_NATIVE_DOUBLE", 42);
  EXPECT_EQ(classOf(result("H5Aread", attribute, "H5T_NATIVE_UINT8")), zbClass::UInt8);
  const Owned type = make("H5Tcopy", "H5T_NATIVE_FLOAT");
  const Value back = result("H5Aread", attribute, type);
  EXPECT_EQ(classOf(back), zbClass::Single);
  EXPECT_EQ(numberOf(back), 42);
}

TEST_F(Attributes, RefuseMemoryDatatypesThatDoNotFit) {
  const Owned attribute = create("a", "H5T_STD_I32BE");
  write(attribute, 1);
  for (const char* word : {"h5zb_default", "H5ZB_DEFAULTS", ""}) {
    expectRaises("constantNotFound", {std::string(word)}, "H5Aread", attribute, word);
    expectRaises("constantNotFound", {std::string(word)}, "H5Awrite", attribute, word, 1);
  }
  const Owned string = fixedText(5);
  expectRaises("badMemTypeClass", {std::string("H5T_INTEGER")}, "H5Aread", attribute, string);
  expectRaises("badMemTypeClass", {std::string("H5T_INTEGER")}, "H5Awrite", attribute, string, "x");
  expectRaises("doubleHidtMismatch", {std::string("memory type identifier")}, "H5Aread", attribute,
               true);
  expectRaises("unrecognizedLocationType", {std::int64_t{H5I_FILE}}, "H5Aread", file, string);
  expectLibraryError("H5Aread", file, kChosen);
  expectLibraryError("H5Awrite", kNoIdentifier, kChosen, 1);
  expectLibraryError("H5Aread", file, "H5T_NATIVE_INT");
}

TEST_F(Attributes, WithoutPointsGiveAnEmptyArrayOfTheirClass) {
  struct Case {
    const char* type;
    zbClass expected;
  };
  for (const Case& c :
       {Case{"H5T_STD_I16LE", zbClass::Int16}, {"H5T_IEEE_F64BE", zbClass::Double}}) {
    const Owned attribute = createIn(emptySpace(), c.type, c.type);
    const Value back = read(attribute);
    EXPECT_EQ(classOf(back), c.expected);
    EXPECT_EQ(shapeOf(back), (Shape{0, 0}));
  }
  const Owned texts = createIn(emptySpace(), "texts", variableText());
  EXPECT_EQ(classOf(read(texts)), zbClass::Cell);
  EXPECT_EQ(shapeOf(read(texts)), (Shape{0, 0}));
}

TEST_F(Attributes, OfANullSpaceTakeNothing) {
  const Owned space = nullSpace();
  const Owned attribute = make("H5Acreate", file, "a", "H5T_STD_I16LE", space, kDefault);
  write(attribute, empty());
  expectRaises("nullAttributeDataspace", {}, "H5Awrite", attribute, kChosen, 1);
  const Value back = read(attribute);
  EXPECT_EQ(classOf(back), zbClass::Int16);
  EXPECT_EQ(shapeOf(back), (Shape{0, 0}));
}

TEST_F(Attributes, RefuseDataThatDoNotFit) {
  const Owned attribute = createSimple("a", "H5T_STD_I32LE", {3});
  for (const Value& data : {row({1, 2}), row({1, 2, 3, 4}), empty(), cell({number(1)}), text("abc"),
                            structure({{"a", row({1, 2, 3})}})}) {
    expectHostError("H5Awrite", attribute, kChosen, data);
  }
}

TEST_F(Attributes, OfAReadOnlyFileKeepTheErrorStackForScripts) {
  const std::string path = temporaryPath();
  {
    const Owned writable = createFile(path);
    const Owned space = scalarSpace();
    make("H5Acreate", writable, "a", "H5T_STD_I32LE", space, kDefault);
  }
  const Owned readOnly = openFile(path);
  const Owned attribute = make("H5Aopen_name", readOnly, "a");
  // What the call made for itself was closed; the records are still there to walk.
  expectStack(failureOf("H5Awrite", {attribute, kChosen, 1}));
}

}  // namespace
