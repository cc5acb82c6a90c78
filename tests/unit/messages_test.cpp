// The message catalogue: its keys, their parameters and their texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "host/messages.hpp"
#include "runtime/host_error.hpp"
#include "tests/unit/failures.hpp"

namespace {

using zembra::HostError;

// Scripts compare keys: S a string parameter, I an integer.
const std::map<std::string_view, std::string_view> kParameters = {
    {"wrongNumberOfInputs", ""},
    {"firstArgNotChar", ""},
    {"invalidOperation", "S"},
    {"inputArrayNotChar", ""},
    {"notString", "S"},
    {"notDoublePrecision", "S"},
    {"inputOutOfRange", ""},
    {"numericCastError", ""},
    {"scalarValueInputOutOfRange", ""},
    {"doubleHidtMismatch", "S"},
    {"doubleDatatypeHidtMismatch", "S"},
    {"unmatchedHidtString", "SS"},
    {"badPropertyListDatatype", "SS"},
    {"unmatchedString", "SS"},
    {"memSpaceIdStringMatchFailure", ""},
    {"noStringMatchForSpaceId", ""},
    {"badEnumInputType", ""},
    {"badEnumNumericInput", "II"},
    {"unmatchedStringNoParam", "S"},
    {"constantNotFound", "S"},
    {"H5Aiterator2_Callback_failure", "S"},
    {"attributeIteratorCallback", ""},
    {"H5GiteratorCallbackFailure", ""},
    {"propertyListIteratorCallback", ""},
    {"H5Ewalk1_Callback", ""},
    {"erorStackCallbackFunctionFailed", ""},
    {"arrayDimsInMemoryDatatypeMismatch", ""},
    {"arrayRankInMemoryDatatypeMismatch", ""},
    {"badMemTypeClass", "S"},
    {"badMemoryDatatypeCardinality", ""},
    {"enumMemoryTypeWithNoMembers", ""},
    {"expectedFixedLengthStringMemoryType", ""},
    {"expectedVariableLengthStringMemoryType", ""},
    {"memoryCompoundMemberNameNotFound", "S"},
    {"opaqueSizeMismatch", ""},
    {"opaqueTagMismatch", ""},
    {"referenceMemoryTypeNotObject", ""},
    {"referenceMemoryTypeNotRegion", ""},
    {"unrecognizedLocationClass", "I"},
    {"unrecognizedLocationType", "I"},
    {"unrecognizedLocationTypeForId", "I"},
    {"nullDatasetDataspace", ""},
    {"nullAttributeDataspace", ""},
    {"dataBufferRankNotTwo", ""},
    {"failureToRetrieveDataspace", ""},
    {"failureToRetrieveDataspaceNdims", ""},
    {"inconsistentExtent", "SS"},
    {"inconsistentRanks", "II"},
    {"wrongNumberOfElementsForOneDimensionalDataspace", "II"},
    {"badEnumArgumentClass", ""},
    {"badEnumInsertArgument", ""},
    {"badVlenSuperTypeCreate", ""},
    {"badVlstringSuperTypeCreate", ""},
    {"datasetHasNoRank", ""},
    {"sizeStringUnrecognized", "S"},
    {"assertReference", ""},
    {"assertReferenceSize", ""},
    {"unrecognizedReferenceType", ""},
    {"badHyperslabSpecification", "S"},
    {"blockListOutOfRange", "I"},
    {"createSimpleSizeMismatch", ""},
    {"invalidRankForElementSelection", ""},
    {"wrongNumberOfElementsForElementSelection", "II"},
    {"rankMismatchForSimpleOffset", ""},
    {"resizeFailure", ""},
    {"setExtentSimpleSizeMismatch", ""},
    {"badDestinationName", ""},
    {"objectNotLink", "S"},
    {"invalidLocation", ""},
    {"linkIterationFailure", "S"},
    {"linkIterationByNameFailure", "S"},
    {"linkVisitFailure", "S"},
    {"linkVisitationByNameFailure", "S"},
    {"visitFailure", "S"},
    {"visitByNameFailure", "S"},
    {"badH5FobjectString", "S"},
    {"missingMdcConfigField", "S"},
    {"badInputArgumentForH5Pset", "SI"},
    {"badBytesReservedArgument", "S"},
    {"badSetFillValueArgument", ""},
    {"noFiltersToModify", ""},
    {"badMembFaplType", ""},
    {"badSetFaplMultiArgumentLength", "I"},
    {"badCopyObjectType", ""},
    {"badCopyOptionsString", ""},
    {"badNumberOfElementsInDxpl", ""},
    {"iterateScalesFailure", "S"},
    {"libraryFailureH5DS", "S"},
};

const std::vector<zembra::Parameter> kWords = {std::string("first word"), std::string("second")};
const std::vector<zembra::Parameter> kNumbers = {std::int64_t{-9007199254740993}, std::int64_t{42}};

template <class Kind>
const Kind& sample(std::size_t place) {
  constexpr bool isNumber = std::is_same_v<Kind, std::int64_t>;
  return std::get<Kind>((isNumber ? kNumbers : kWords).at(place));
}

template <class... Kinds>
struct Signature {
  static std::string letters() {
    return (std::string() + ... + (std::is_same_v<Kinds, std::int64_t> ? "I" : "S"));
  }
  template <std::size_t... Place>
  static std::tuple<Kinds...> values(std::index_sequence<Place...>) {
    return std::tuple<Kinds...>(sample<Kinds>(Place)...);
  }
  static std::tuple<Kinds...> values() { return values(std::index_sequence_for<Kinds...>{}); }
  static std::vector<zembra::Parameter> samples() {
    return std::apply(
        [](const Kinds&... value) {
          return std::vector<zembra::Parameter>{zembra::Parameter(value)...};
        },
        values());
  }
  /// The error that the message becomes.
  template <class Message>
  static HostError raised() {
    try {
      zbErrMsgId(std::make_from_tuple<Message>(values()));
    } catch (const HostError& error) {
      return error;
    }
  }
};

struct Entry {
  std::string component;
  std::string key;
  std::string parameters;
  std::vector<zembra::Parameter> samples;
  HostError error;
};

const std::vector<Entry>& entries() {
  using String = Zembra::fmtio::String;
  using Integer = Zembra::fmtio::Integer;
  static const std::vector<Entry> all = {
#define SIGNATURE(...) Signature<__VA_ARGS__>
#define ZB_MESSAGE(Component, Key, Kinds, Text)                              \
  {#Component, #Key, SIGNATURE Kinds::letters(), SIGNATURE Kinds::samples(), \
   SIGNATURE Kinds::raised<Zembra::fmtio::Component::Key>()},
#include "host/message_keys.def"
#undef ZB_MESSAGE
#undef SIGNATURE
  };
  return all;
}

std::string asText(const zembra::Parameter& parameter) {
  const auto* words = std::get_if<std::string>(&parameter);
  return words != nullptr ? *words : std::to_string(std::get<std::int64_t>(parameter));
}

TEST(Messages, AreTheEightyEightKeysWithTheirParameters) {
  EXPECT_EQ(kParameters.size(), 88U);
  EXPECT_EQ(entries().size(), 88U);
  for (const Entry& entry : entries()) {
    const auto expected = kParameters.find(entry.key);
    ASSERT_NE(expected, kParameters.end()) << entry.key;
    EXPECT_EQ(entry.parameters, expected->second) << entry.key;
  }
}

TEST(Messages, BelongToTheGatewayButForTheCountOfInputs) {
  for (const Entry& entry : entries()) {
    EXPECT_EQ(entry.component, entry.key == "wrongNumberOfInputs" ? "validate" : "h5gate")
        << entry.key;
  }
}

TEST(Messages, RaiseErrorsThatCarryKeyAndParametersInOrder) {
  for (const Entry& entry : entries()) {
    EXPECT_EQ(entry.error->key, entry.key);
    EXPECT_EQ(entry.error->identifier, "Zembra:" + entry.component + ":" + entry.key);
    EXPECT_EQ(entry.error->parameters, entry.samples) << entry.key;
    EXPECT_FALSE(entry.error->libraryFailure) << entry.key;
    EXPECT_TRUE(entry.error->stack.empty()) << entry.key;
  }
}

TEST(Messages, AreOneSentenceWithEveryParameterFilledIn) {
  for (const Entry& entry : entries()) {
    const std::string& text = entry.error->text;
    EXPECT_STREQ(entry.error.what(), text.c_str()) << entry.key;
    EXPECT_EQ(text.find('%'), std::string::npos) << entry.key << ": " << text;
    EXPECT_TRUE(text.ends_with(".")) << entry.key << ": " << text;
    EXPECT_EQ(text.find(". "), std::string::npos) << entry.key << ": " << text;
    EXPECT_EQ(text.find('\n'), std::string::npos) << entry.key << ": " << text;
    EXPECT_FALSE(std::islower(static_cast<unsigned char>(text.at(0))) != 0 &&
                 !text.starts_with("first word"))
        << entry.key << ": " << text;
    for (const zembra::Parameter& parameter : entry.samples) {
      EXPECT_NE(text.find(asText(parameter)), std::string::npos) << entry.key << ": " << text;
    }
  }
}

TEST(Messages, SayDifferentThings) {
  std::set<std::string> texts;
  for (const Entry& entry : entries()) {
    EXPECT_TRUE(texts.insert(entry.error->text).second) << entry.key;
  }
}

TEST(Messages, AreListedInTheCatalogueWithTheirTexts) {
  ASSERT_EQ(zembra::catalogue().size(), entries().size());
  for (const zembra::CatalogueEntry& listed : zembra::catalogue()) {
    const auto found = std::ranges::find(entries(), listed.key, &Entry::key);
    ASSERT_NE(found, entries().end()) << listed.key;
    EXPECT_EQ(listed.component, found->component) << listed.key;
    EXPECT_EQ(listed.parameters, found->samples.size()) << listed.key;
    for (std::size_t place = 1; place <= listed.parameters; ++place) {
      const std::string placeholder = "%" + std::to_string(place);
      EXPECT_NE(listed.text.find(placeholder), std::string_view::npos) << listed.key;
    }
  }
}

TEST(Messages, KeepParametersThatLookLikePlaceholders) {
  try {
    zbErrMsgId(Zembra::fmtio::h5gate::unmatchedString("%2 %1", "file access flags"));
  } catch (const HostError& error) {
    EXPECT_EQ(error->text, "'%2 %1' is not one of the names that the file access flags can have.");
  }
}

TEST(Messages, IssuedAsAWarningReachTheHandlerAndReturn) {
  std::vector<zembra::Warning> warnings;
  zembra::setWarningHandler([&](const zembra::Warning& warning) { warnings.push_back(warning); });
  zbWarningMsgId(Zembra::fmtio::h5gate::H5Aiterator2_Callback_failure("no such thing"));
  zembra::setWarningHandler([](const zembra::Warning&) {});
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0].identifier, "Zembra:h5gate:H5Aiterator2_Callback_failure");
  EXPECT_NE(warnings[0].text.find("no such thing"), std::string::npos);
}

}  // namespace
