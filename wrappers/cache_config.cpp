#include "wrappers/cache_config.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "convert/record.hpp"
#include "convert/text.hpp"
#include "gateway/failure.hpp"

namespace h5gate {
namespace {

using Config = H5AC_cache_config_t;

/// A structure that lacks one of the fields up to here is refused before any field
/// is read; the fields behind it are missed only when their turn comes.
constexpr std::size_t kFieldsTestedFirst = 25;

// How a member of each kind is given to a script and taken from one.
struct Flag {
  template <class Member>
  static zbArray* give(const Member& member) {
    return zbCreateLogicalScalar(member != 0);
  }
  // The first byte of the data, whatever the class says.
  template <class Member>
  static void take(Member& member, const zbArray* value) {
    const auto* data = static_cast<const std::uint8_t*>(zbGetData(value));
    member = static_cast<Member>(data != nullptr && *data != 0 ? 1 : 0);
  }
};
struct Name {
  template <std::size_t N>
  static zbArray* give(const char (&member)[N]) {
    return makeText(std::string(member, strnlen(member, N)));
  }
  template <std::size_t N>
  static void take(char (&member)[N], const zbArray* value) {
    const std::string text = textOf(value);
    std::memset(member, 0, N);
    std::copy_n(text.data(), std::min<std::size_t>(text.size(), N - 1), member);
  }
};
struct Count {
  static zbArray* give(std::size_t member) { return makeSizeResult(member); }
  static void take(std::size_t& member, const zbArray* value) {
    member = static_cast<std::size_t>(getConfigSizeArg(value));
  }
};
struct Fraction {
  static zbArray* give(double member) { return zbCreateDoubleScalar(member); }
  static void take(double& member, const zbArray* value) { member = zbGetScalar(value); }
};
struct Whole {
  template <class Member>
  static zbArray* give(Member member) {
    return zbCreateDoubleScalar(static_cast<double>(member));
  }
  template <class Member>
  static void take(Member& member, const zbArray* value) {
    member = static_cast<Member>(getConfigIntArg(value));
  }
};
struct Mode : Whole {
  template <class Member>
  static void take(Member& member, const zbArray* value) {
    const bool empty = zbGetNumberOfElements(value) == 0;
    member = static_cast<Member>(castToInt(empty ? zbGetScalar(value) : elementAsDouble(value, 0)));
  }
};
/// Asked for, never read: the version is the library's business.
struct Ignored : Whole {
  template <class Member>
  static void take(Member& /*member*/, const zbArray* /*value*/) {}
};

struct Member {
  const char* name;
  zbArray* (*get)(const Config& config);
  void (*take)(Config& config, const zbArray* value);
};

#define H5GATE_MEMBER(Name, Kind)                                       \
  {                                                                     \
#Name, [](const Config& config) { return Kind::give(config.Name); },  \
   [](Config& config, const zbArray* value) { Kind::take(config.Name, value); } \
  }

constexpr Member kMembers[] = {
    H5GATE_MEMBER(version, Ignored),
    H5GATE_MEMBER(rpt_fcn_enabled, Flag),
    H5GATE_MEMBER(open_trace_file, Flag),
    H5GATE_MEMBER(close_trace_file, Flag),
    H5GATE_MEMBER(trace_file_name, Name),
    H5GATE_MEMBER(evictions_enabled, Flag),
    H5GATE_MEMBER(set_initial_size, Flag),
    H5GATE_MEMBER(initial_size, Count),
    H5GATE_MEMBER(min_clean_fraction, Fraction),
    H5GATE_MEMBER(max_size, Count),
    H5GATE_MEMBER(min_size, Count),
    H5GATE_MEMBER(epoch_length, Whole),
    H5GATE_MEMBER(incr_mode, Mode),
    H5GATE_MEMBER(lower_hr_threshold, Fraction),
    H5GATE_MEMBER(increment, Fraction),
    H5GATE_MEMBER(apply_max_increment, Flag),
    H5GATE_MEMBER(max_increment, Count),
    H5GATE_MEMBER(flash_incr_mode, Mode),
    H5GATE_MEMBER(flash_multiple, Fraction),
    H5GATE_MEMBER(flash_threshold, Fraction),
    H5GATE_MEMBER(decr_mode, Mode),
    H5GATE_MEMBER(upper_hr_threshold, Fraction),
    H5GATE_MEMBER(decrement, Fraction),
    H5GATE_MEMBER(apply_max_decrement, Flag),
    H5GATE_MEMBER(max_decrement, Count),
    H5GATE_MEMBER(epochs_before_eviction, Whole),
    H5GATE_MEMBER(apply_empty_reserve, Flag),
    H5GATE_MEMBER(empty_reserve, Fraction),
    H5GATE_MEMBER(dirty_bytes_threshold, Whole),
    H5GATE_MEMBER(metadata_write_strategy, Whole),
};
#undef H5GATE_MEMBER

constexpr const Member& kReadLate = kMembers[16];  // max_increment
static_assert(std::string_view(kReadLate.name) == "max_increment");

const zbArray* fieldOf(const zbArray* structure, const char* name) {
  const zbArray* field = zbGetField(structure, 0, name);
  if (field == nullptr) raise<msg::missingMdcConfigField>(name);
  return field;
}

}  // namespace

H5AC_cache_config_t emptyCacheConfig() {
  Config config{};
  config.version = H5AC__CURR_CACHE_CONFIG_VERSION;
  return config;
}

zbArray* makeCacheConfig(const H5AC_cache_config_t& config) { return makeRecord(kMembers, config); }

H5AC_cache_config_t getCacheConfigArg(const zbArray* structure) {
  for (std::size_t i = 0; i < kFieldsTestedFirst; ++i) fieldOf(structure, kMembers[i].name);
  Config config = emptyCacheConfig();
  const auto take = [&](const Member& member) {
    member.take(config, fieldOf(structure, member.name));
  };
  for (const Member& member : kMembers) {
    // The order decides which of several bad fields is reported.
    if (std::string_view(member.name) == kReadLate.name) continue;
    take(member);
    if (std::string_view(member.name) == "flash_threshold") take(kReadLate);
  }
  return config;
}

}  // namespace h5gate
