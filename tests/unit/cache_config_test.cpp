// The metadata cache configuration: its structure, and the record made from one.
#include "wrappers/cache_config.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "convert/identifiers.hpp"
#include "runtime/call_scope.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/strangers.hpp"
#include "tests/unit/structures.hpp"

namespace {

using namespace h5test;

enum class Kind { Version, Flag, Name, Size, Real, Whole, Mode };

/// Fields in the order in which scripts see them.
const std::vector<std::pair<std::string, Kind>> kFields = {
    {"version", Kind::Version},
    {"rpt_fcn_enabled", Kind::Flag},
    {"open_trace_file", Kind::Flag},
    {"close_trace_file", Kind::Flag},
    {"trace_file_name", Kind::Name},
    {"evictions_enabled", Kind::Flag},
    {"set_initial_size", Kind::Flag},
    {"initial_size", Kind::Size},
    {"min_clean_fraction", Kind::Real},
    {"max_size", Kind::Size},
    {"min_size", Kind::Size},
    {"epoch_length", Kind::Whole},
    {"incr_mode", Kind::Mode},
    {"lower_hr_threshold", Kind::Real},
    {"increment", Kind::Real},
    {"apply_max_increment", Kind::Flag},
    {"max_increment", Kind::Size},
    {"flash_incr_mode", Kind::Mode},
    {"flash_multiple", Kind::Real},
    {"flash_threshold", Kind::Real},
    {"decr_mode", Kind::Mode},
    {"upper_hr_threshold", Kind::Real},
    {"decrement", Kind::Real},
    {"apply_max_decrement", Kind::Flag},
    {"max_decrement", Kind::Size},
    {"epochs_before_eviction", Kind::Whole},
    {"apply_empty_reserve", Kind::Flag},
    {"empty_reserve", Kind::Real},
    {"dirty_bytes_threshold", Kind::Whole},
    {"metadata_write_strategy", Kind::Whole},
};

std::vector<std::string> names(const std::vector<Kind>& kinds) {
  std::vector<std::string> all;
  for (const auto& [name, kind] : kFields) {
    for (const Kind wanted : kinds) {
      if (kind == wanted) all.push_back(name);
    }
  }
  return all;
}

/// A record in which every member is different from zero and from its neighbours.
H5AC_cache_config_t sample() {
  H5AC_cache_config_t config{};
  config.version = 1;
  config.rpt_fcn_enabled = true;
  config.close_trace_file = true;
  std::strcpy(config.trace_file_name, "trace.txt");
  config.set_initial_size = true;
  config.initial_size = 1001;
  config.min_clean_fraction = 0.25;
  config.max_size = 1002;
  config.min_size = 1003;
  config.epoch_length = 1004;
  config.incr_mode = H5C_incr__threshold;
  config.lower_hr_threshold = 0.5;
  config.increment = 2.5;
  config.apply_max_increment = true;
  config.max_increment = 1005;
  config.flash_incr_mode = H5C_flash_incr__add_space;
  config.flash_multiple = 1.5;
  config.flash_threshold = 0.375;
  config.decr_mode = H5C_decr__age_out_with_threshold;
  config.upper_hr_threshold = 0.75;
  config.decrement = 0.875;
  config.max_decrement = 1006;
  config.epochs_before_eviction = 7;
  config.apply_empty_reserve = true;
  config.empty_reserve = 0.125;
  config.dirty_bytes_threshold = 1007;
  config.metadata_write_strategy = 1;
  return config;
}

Value structureOf(const H5AC_cache_config_t& config) {
  const zembra::CallScope scope;
  return zembra::CallScope::take(h5gate::CacheConfig::make(config));
}

H5AC_cache_config_t recordOf(const Value& structure) {
  return h5gate::CacheConfig::from(structure.get()).config;
}

/// The sample with other fields; a null value removes one.
Value changed(const std::vector<std::pair<std::string, Value>>& changes) {
  const Value whole = structureOf(sample());
  std::vector<std::pair<std::string, Value>> fields;
  for (const auto& [name, kind] : kFields) {
    Value value = field(whole, name.c_str());
    for (const auto& [other, replacement] : changes) {
      if (other == name) value = replacement;
    }
    if (value) fields.emplace_back(name, value);
  }
  return zembra::makeStruct(std::move(fields));
}

/// What the structure raises.
std::string complaintOf(const Value& structure) {
  return complaint([&] { recordOf(structure); });
}

// --- Record to structure -------------------------------------------------------------

TEST(CacheConfigStructure, HasThirtyFieldsInOrder) {
  const Value structure = structureOf(sample());
  EXPECT_EQ(shapeOf(structure), (Shape{1, 1}));
  const auto names = fieldNames(structure);
  ASSERT_EQ(names.size(), 30U);
  for (std::size_t i = 0; i < kFields.size(); ++i) {
    const auto& [name, kind] = kFields[i];
    EXPECT_EQ(names[i], name);
    const zbClass expected = kind == Kind::Flag   ? zbClass::Logical
                             : kind == Kind::Name ? zbClass::Char
                                                  : zbClass::Double;
    EXPECT_EQ(classOf(field(structure, name.c_str())), expected) << name;
  }
}

TEST(CacheConfigStructure, HoldsEveryMember) {
  const Value structure = structureOf(sample());
  const auto number = [&](const char* name) { return numberOf(field(structure, name)); };
  EXPECT_EQ(textOf(field(structure, "trace_file_name")), "trace.txt");
  const std::vector<std::pair<const char*, double>> expected = {
      {"version", 1},
      {"rpt_fcn_enabled", 1},
      {"open_trace_file", 0},
      {"close_trace_file", 1},
      {"evictions_enabled", 0},
      {"set_initial_size", 1},
      {"initial_size", 1001},
      {"min_clean_fraction", 0.25},
      {"max_size", 1002},
      {"min_size", 1003},
      {"epoch_length", 1004},
      {"incr_mode", 1},
      {"lower_hr_threshold", 0.5},
      {"increment", 2.5},
      {"apply_max_increment", 1},
      {"max_increment", 1005},
      {"flash_incr_mode", 1},
      {"flash_multiple", 1.5},
      {"flash_threshold", 0.375},
      {"decr_mode", 3},
      {"upper_hr_threshold", 0.75},
      {"decrement", 0.875},
      {"apply_max_decrement", 0},
      {"max_decrement", 1006},
      {"epochs_before_eviction", 7},
      {"apply_empty_reserve", 1},
      {"empty_reserve", 0.125},
      {"dirty_bytes_threshold", 1007},
      {"metadata_write_strategy", 1},
  };
  for (const auto& [name, value] : expected) EXPECT_EQ(number(name), value) << name;
}

TEST(CacheConfigStructure, HoldsSizesAsPositiveNumbers) {
  H5AC_cache_config_t config = sample();
  config.max_size = std::size_t{1} << 63;
  config.min_size = std::numeric_limits<std::size_t>::max();
  const Value structure = structureOf(config);
  EXPECT_EQ(numberOf(field(structure, "max_size")), 9223372036854775808.0);
  EXPECT_EQ(numberOf(field(structure, "min_size")), kTwo64);
}

TEST(CacheConfigStructure, HoldsANameUpToItsTerminatorIfItHasOne) {
  H5AC_cache_config_t config = sample();
  std::memset(config.trace_file_name, 'n', sizeof config.trace_file_name);
  EXPECT_EQ(textOf(field(structureOf(config), "trace_file_name")),
            std::string(sizeof config.trace_file_name, 'n'));
  config.trace_file_name[0] = '\0';
  EXPECT_EQ(textOf(field(structureOf(config), "trace_file_name")), "");
}

// --- Structure to record -------------------------------------------------------------

TEST(CacheConfigRecord, IsTheOneThatTheStructureWasMadeOf) {
  const H5AC_cache_config_t before = sample();
  const H5AC_cache_config_t after = recordOf(structureOf(before));
  const Value one = structureOf(before);
  const Value other = structureOf(after);
  for (const auto& [name, kind] : kFields) {
    const Value left = field(one, name.c_str());
    const Value right = field(other, name.c_str());
    if (kind == Kind::Name) {
      EXPECT_EQ(textOf(left), textOf(right));
    } else {
      EXPECT_EQ(numberOf(left), numberOf(right)) << name;
    }
  }
}

TEST(CacheConfigRecord, WantsEveryField) {
  for (const auto& [name, kind] : kFields) {
    EXPECT_EQ(complaintOf(changed({{name, Value()}})), "missingMdcConfigField(" + name + ")");
  }
}

TEST(CacheConfigRecord, NamesTheFirstFieldThatIsMissing) {
  EXPECT_EQ(complaintOf(changed({{"decr_mode", Value()}, {"max_size", Value()}})),
            "missingMdcConfigField(max_size)");
  // Up to max_decrement before any is read; those behind it when their turn comes.
  EXPECT_EQ(complaintOf(changed({{"max_decrement", Value()}, {"initial_size", number(-1)}})),
            "missingMdcConfigField(max_decrement)");
  EXPECT_EQ(
      complaintOf(changed({{"epochs_before_eviction", Value()}, {"initial_size", number(-1)}})),
      "inputOutOfRange");
}

TEST(CacheConfigRecord, IsMadeOfStructuresOnly) {
  std::vector<Value> others = strangers();
  others.insert(others.end(), {number(1), empty(), text("version"), structure({}), identifier(1)});
  for (const Value& other : others) {
    EXPECT_EQ(complaintOf(other), "missingMdcConfigField(version)");
  }
}

TEST(CacheConfigRecord, CarriesTheLibrarysVersionWhateverTheFieldSays) {
  for (const Value& version : {number(7), number(kNaN), text("seven"), empty(), cell({})}) {
    EXPECT_EQ(recordOf(changed({{"version", version}})).version, 1);
  }
}

TEST(CacheConfigRecord, CutsLongNames) {
  const auto name = [](std::size_t length) {
    const Value value = text(std::string(length, 'n'));
    return std::string(recordOf(changed({{"trace_file_name", value}})).trace_file_name);
  };
  for (const std::size_t length :
       {std::size_t{0}, std::size_t{1}, std::size_t{1023}, std::size_t{1024}}) {
    EXPECT_EQ(name(length), std::string(length, 'n'));
  }
  EXPECT_EQ(name(1025), std::string(1024, 'n'));
  EXPECT_EQ(name(2000), std::string(1024, 'n'));
}

TEST(CacheConfigRecord, TakesTextForTheName) {
  for (const Value& value : {number(1), empty(), cell({}), structure({})}) {
    EXPECT_EQ(complaintOf(changed({{"trace_file_name", value}})), "notText");
  }
  EXPECT_EQ(complaintOf(changed({{"trace_file_name", text(std::string_view("a\0b", 3))}})),
            "embeddedNull");
}

TEST(CacheConfigRecord, RefusesNumbersOutOfRange) {
  const std::vector<Value> none = {number(kNaN), number(kInfinity), empty(), text("1"), cell({})};
  const auto expectRefused = [](const std::vector<std::string>& fields, const std::string& key,
                                std::vector<Value> bad) {
    for (const std::string& name : fields) {
      for (const Value& value : bad) EXPECT_EQ(complaintOf(changed({{name, value}})), key) << name;
    }
  };
  for (const auto& values : {std::vector<Value>{number(-1), number(kTwo64)}, none}) {
    expectRefused(names({Kind::Size}), "inputOutOfRange", values);
  }
  for (const auto& values :
       {std::vector<Value>{number(2147483648.0), number(-2147483649.0)}, none}) {
    expectRefused(names({Kind::Whole}), "inputOutOfRange", values);
    expectRefused(names({Kind::Mode}), "numericCastError", values);
  }
}

TEST(CacheConfigRecord, TruncatesNumbersTowardZero) {
  EXPECT_EQ(recordOf(changed({{"max_size", number(7.9)}})).max_size, 7U);
  EXPECT_EQ(recordOf(changed({{"min_size", number(-0.9)}})).min_size, 0U);
  EXPECT_EQ(recordOf(changed({{"epoch_length", number(-7.9)}})).epoch_length, -7);
  EXPECT_EQ(recordOf(changed({{"incr_mode", number(0.9)}})).incr_mode, H5C_incr__off);
  EXPECT_EQ(recordOf(changed({{"dirty_bytes_threshold", number(9.9)}})).dirty_bytes_threshold, 9U);
}

TEST(CacheConfigRecord, TakesNumbersOfAnyClass) {
  for (const zbClass type : {zbClass::Single, zbClass::Int8, zbClass::UInt16, zbClass::Int64}) {
    const H5AC_cache_config_t config = recordOf(changed({{"max_size", numeric(type, {3, 4})},
                                                         {"increment", numeric(type, {3, 4})},
                                                         {"epoch_length", numeric(type, {3, 4})},
                                                         {"decr_mode", numeric(type, {3, 4})}}));
    EXPECT_EQ(config.max_size, 3U);
    EXPECT_EQ(config.increment, 3.0);
    EXPECT_EQ(config.epoch_length, 3);
    EXPECT_EQ(config.decr_mode, H5C_decr__age_out_with_threshold);
  }
}

TEST(CacheConfigRecord, TakesTheFirstByteForAFlag) {
  const auto flag = [](Value value) {
    return recordOf(changed({{"rpt_fcn_enabled", std::move(value)}})).rpt_fcn_enabled;
  };
  EXPECT_TRUE(flag(logical(true)));
  EXPECT_FALSE(flag(logical(false)));
  EXPECT_TRUE(flag(numeric(zbClass::Logical, {1, 0})));
  EXPECT_TRUE(flag(numeric(zbClass::UInt8, {5})));
  EXPECT_FALSE(flag(number(1))) << "a double's first byte says little";
  for (const Value& nothing : {empty(), numeric(zbClass::Logical, {}), cell({}), structure({})}) {
    EXPECT_FALSE(flag(nothing));
  }
}

TEST(CacheConfigRecord, ReadsTheMaximumIncrementLate) {
  const Value bad = number(-1e20);
  EXPECT_EQ(complaintOf(changed({{"max_increment", bad}})), "inputOutOfRange");
  EXPECT_EQ(complaintOf(changed({{"max_increment", bad}, {"flash_incr_mode", bad}})),
            "numericCastError");
  EXPECT_EQ(complaintOf(changed({{"max_increment", bad}, {"decr_mode", bad}})), "inputOutOfRange");
  EXPECT_EQ(complaintOf(changed({{"max_increment", bad}, {"incr_mode", bad}})), "numericCastError");
}

// --- Through files and lists ---------------------------------------------------------

TEST(CacheConfig, OfAFileIsReadAndSet) {
  const MemoryFile file;
  const Value config = result("H5Fget_mdc_config", file);
  EXPECT_EQ(numberOf(field(config, "version")), 1);
  EXPECT_TRUE(call("H5Fset_mdc_config", file, config).empty());
  call("H5Fset_mdc_config", file, withField(config, "epoch_length", number(12345.9)));
  H5AC_cache_config_t set = h5gate::CacheConfig::initially();
  ASSERT_GE(H5Fget_mdc_config(file.get(), &set), 0);
  EXPECT_EQ(set.epoch_length, 12345);
  EXPECT_EQ(numberOf(field(result("H5Fget_mdc_config", file), "epoch_length")), 12345);
}

TEST(CacheConfig, OfAnotherVersionChangesNothing) {
  const MemoryFile file;
  const Value config = result("H5Fget_mdc_config", file);
  EXPECT_TRUE(call("H5Fset_mdc_config", file, withField(config, "version", number(7))).empty());
  EXPECT_EQ(numberOf(field(result("H5Fget_mdc_config", file), "version")), 1);
}

TEST(CacheConfig, IsCheckedByHdf5) {
  const MemoryFile file;
  const Value config = result("H5Fget_mdc_config", file);
  const double most = numberOf(field(config, "max_size"));
  expectLibraryError("H5Fset_mdc_config", file, withField(config, "min_size", number(most + 1)));
  expectLibraryError("H5Fset_mdc_config", file, withField(config, "incr_mode", number(9)));
  EXPECT_EQ(numberOf(field(result("H5Fget_mdc_config", file), "max_size")), most);
}

TEST(CacheConfig, IsLookedAtAfterTheIdentifierAndBeforeTheCall) {
  const std::string words = "file identifier";
  expectRaises("doubleHidtMismatch", {words}, "H5Fset_mdc_config", cell({}), structure({}));
  expectRaises("missingMdcConfigField", {std::string("version")}, "H5Fset_mdc_config", -1,
               structure({}));
  expectLibraryError("H5Fset_mdc_config", -1, structureOf(sample()));
}

}  // namespace
