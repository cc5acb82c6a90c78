#include "wrappers/cache_config.hpp"

#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "convert/failure.hpp"
#include "convert/record.hpp"
#include "convert/scalar_arguments.hpp"
#include "convert/text.hpp"
#include "convert/vector_arguments.hpp"

namespace h5gate {
namespace {

using Config = H5AC_cache_config_t;

// --- From the record to the structure -------------------------------------------------

template <auto Member>
constexpr auto flagOf =
    [](const Config& config) { return zbCreateLogicalScalar(config.*Member != 0); };

/// In the order in which scripts see them.
constexpr Field<Config> kGiven[] = {
    {"version", numberOf<&Config::version>},
    {"rpt_fcn_enabled", flagOf<&Config::rpt_fcn_enabled>},
    {"open_trace_file", flagOf<&Config::open_trace_file>},
    {"close_trace_file", flagOf<&Config::close_trace_file>},
    {"trace_file_name",
     [](const Config& config) {
       const char(&name)[sizeof config.trace_file_name] = config.trace_file_name;
       return makeText(std::string(name, strnlen(name, sizeof name)));
     }},
    {"evictions_enabled", flagOf<&Config::evictions_enabled>},
    {"set_initial_size", flagOf<&Config::set_initial_size>},
    {"initial_size", numberOf<&Config::initial_size>},
    {"min_clean_fraction", numberOf<&Config::min_clean_fraction>},
    {"max_size", numberOf<&Config::max_size>},
    {"min_size", numberOf<&Config::min_size>},
    {"epoch_length", numberOf<&Config::epoch_length>},
    {"incr_mode", numberOf<&Config::incr_mode>},
    {"lower_hr_threshold", numberOf<&Config::lower_hr_threshold>},
    {"increment", numberOf<&Config::increment>},
    {"apply_max_increment", flagOf<&Config::apply_max_increment>},
    {"max_increment", numberOf<&Config::max_increment>},
    {"flash_incr_mode", numberOf<&Config::flash_incr_mode>},
    {"flash_multiple", numberOf<&Config::flash_multiple>},
    {"flash_threshold", numberOf<&Config::flash_threshold>},
    {"decr_mode", numberOf<&Config::decr_mode>},
    {"upper_hr_threshold", numberOf<&Config::upper_hr_threshold>},
    {"decrement", numberOf<&Config::decrement>},
    {"apply_max_decrement", flagOf<&Config::apply_max_decrement>},
    {"max_decrement", numberOf<&Config::max_decrement>},
    {"epochs_before_eviction", numberOf<&Config::epochs_before_eviction>},
    {"apply_empty_reserve", flagOf<&Config::apply_empty_reserve>},
    {"empty_reserve", numberOf<&Config::empty_reserve>},
    {"dirty_bytes_threshold", numberOf<&Config::dirty_bytes_threshold>},
    {"metadata_write_strategy", numberOf<&Config::metadata_write_strategy>},
};

// --- From the structure to the record -------------------------------------------------

struct Reader {
  const char* name;
  void (*take)(Config& config, const zbArray* value);
};

/// The first byte of the data, whatever the class says.
template <auto Member>
constexpr auto toFlag = [](Config& config, const zbArray* value) {
  const auto* data = static_cast<const std::uint8_t*>(zbGetData(value));
  config.*Member = static_cast<hbool_t>(data != nullptr && *data != 0);
};
template <auto Member>
constexpr auto toSize =
    [](Config& config, const zbArray* value) { config.*Member = getConfigSizeArg(value); };
template <auto Member>
constexpr auto toReal =
    [](Config& config, const zbArray* value) { config.*Member = zbGetScalar(value); };
/// 32 bits, and then whatever the member is.
template <auto Member>
constexpr auto toInt = [](Config& config, const zbArray* value) {
  const int number = getConfigIntArg(value);
  config.*Member = static_cast<std::remove_reference_t<decltype(config.*Member)>>(number);
};
template <auto Member>
constexpr auto toMode = [](Config& config, const zbArray* value) {
  const bool empty = zbGetNumberOfElements(value) == 0;
  const int number = castToInt(empty ? zbGetScalar(value) : elementAsDouble(value, 0));
  config.*Member = static_cast<std::remove_reference_t<decltype(config.*Member)>>(number);
};

void takeTraceFileName(Config& config, const zbArray* value) {
  const std::string name = textOf(value);
  constexpr std::size_t kRoom = sizeof config.trace_file_name;
  std::memset(config.trace_file_name, 0, kRoom);
  std::copy_n(name.data(), std::min(name.size(), kRoom - 1), config.trace_file_name);
}

/// In the order in which they are read: it decides which of several bad fields is
/// reported. The version is asked for and never read: it is the library's business.
constexpr Reader kRead[] = {
    // clang-format off
    {"version",                 [](Config&, const zbArray*) {}},
    {"rpt_fcn_enabled",         toFlag<&Config::rpt_fcn_enabled>},
    {"open_trace_file",         toFlag<&Config::open_trace_file>},
    {"close_trace_file",        toFlag<&Config::close_trace_file>},
    {"trace_file_name",         takeTraceFileName},
    {"evictions_enabled",       toFlag<&Config::evictions_enabled>},
    {"set_initial_size",        toFlag<&Config::set_initial_size>},
    {"initial_size",            toSize<&Config::initial_size>},
    {"min_clean_fraction",      toReal<&Config::min_clean_fraction>},
    {"max_size",                toSize<&Config::max_size>},
    {"min_size",                toSize<&Config::min_size>},
    {"epoch_length",            toInt<&Config::epoch_length>},
    {"incr_mode",               toMode<&Config::incr_mode>},
    {"lower_hr_threshold",      toReal<&Config::lower_hr_threshold>},
    {"increment",               toReal<&Config::increment>},
    {"apply_max_increment",     toFlag<&Config::apply_max_increment>},
    {"flash_incr_mode",         toMode<&Config::flash_incr_mode>},
    {"flash_multiple",          toReal<&Config::flash_multiple>},
    {"flash_threshold",         toReal<&Config::flash_threshold>},
    {"max_increment",           toSize<&Config::max_increment>},
    {"decr_mode",               toMode<&Config::decr_mode>},
    {"upper_hr_threshold",      toReal<&Config::upper_hr_threshold>},
    {"decrement",               toReal<&Config::decrement>},
    {"apply_max_decrement",     toFlag<&Config::apply_max_decrement>},
    {"max_decrement",           toSize<&Config::max_decrement>},
    {"epochs_before_eviction",  toInt<&Config::epochs_before_eviction>},
    {"apply_empty_reserve",     toFlag<&Config::apply_empty_reserve>},
    {"empty_reserve",           toReal<&Config::empty_reserve>},
    {"dirty_bytes_threshold",   toInt<&Config::dirty_bytes_threshold>},
    {"metadata_write_strategy", toInt<&Config::metadata_write_strategy>},
};  // clang-format on

/// A structure that lacks one of the first fields is refused before any is read; those
/// behind them are missed only when their turn comes.
constexpr std::span kMissedAtOnce = std::span(kGiven).first<25>();
static_assert(std::string_view(kMissedAtOnce.back().name) == "max_decrement");

const zbArray* fieldOf(const zbArray* structure, const char* name) {
  const zbArray* field = zbGetField(structure, 0, name);
  if (field == nullptr) raise<msg::missingMdcConfigField>(name);
  return field;
}

}  // namespace

CacheConfig::Value CacheConfig::initially() {
  Config config{};
  config.version = H5AC__CURR_CACHE_CONFIG_VERSION;
  return config;
}

zbArray* CacheConfig::make(const Value& config) { return makeRecord(kGiven, config); }

CacheConfig::Taken CacheConfig::from(const zbArray* structure) {
  for (const Field<Config>& field : kMissedAtOnce) fieldOf(structure, field.name);
  Taken taken{initially()};
  for (const Reader& reader : kRead) reader.take(taken.config, fieldOf(structure, reader.name));
  return taken;
}

}  // namespace h5gate
