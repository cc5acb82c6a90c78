// The message catalogue: the texts of the keys, and the errors and warnings made from them.
#include "host/messages.hpp"

#include "runtime/host_error.hpp"
#include "runtime/library_records.hpp"
#include "runtime/pending_cause.hpp"

namespace zembra {
namespace {

// The number of parameters is the number of kinds listed beside the key.
template <class... Kinds>
struct Count {
  static constexpr std::size_t value = sizeof...(Kinds);
};

/// The text with its parameters in place of %1, %2, ...
std::string fill(std::string_view pattern, const std::vector<Parameter>& parameters) {
  std::string text;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const bool placeholder = pattern[i] == '%' && i + 1 < pattern.size() && pattern[i + 1] >= '1' &&
                             pattern[i + 1] <= '9';
    const auto index = placeholder ? static_cast<std::size_t>(pattern[i + 1] - '1') : 0;
    if (!placeholder || index >= parameters.size()) {
      text += pattern[i];
      continue;
    }
    const Parameter& parameter = parameters[index];
    if (const auto* words = std::get_if<std::string>(&parameter)) {
      text += *words;
    } else {
      text += std::to_string(std::get<std::int64_t>(parameter));
    }
    ++i;
  }
  return text;
}

HostError::Content contentOf(const resource_core::BaseMsgID& message) {
  HostError::Content content;
  content.key = message.key();
  content.identifier = "Zembra:" + std::string(message.component()) + ":" + content.key;
  content.parameters = message.parameters();
  for (const CatalogueEntry& entry : catalogue()) {
    if (entry.key == message.key() && entry.component == message.component()) {
      content.text = fill(entry.text, content.parameters);
    }
  }
  if (message.libraryFailed()) {
    content.stack = currentErrorRecords();
    content.libraryReason = leadingLine(content.stack);
  }
  content.input = message.input();
  content.cause = takePendingCause();
  return content;
}

}  // namespace

const std::vector<CatalogueEntry>& catalogue() {
  using String = std::string;
  using Integer = std::int64_t;
  static const std::vector<CatalogueEntry> entries = {
#define ZB_COUNT(...) Count<__VA_ARGS__>::value
#define ZB_MESSAGE(Component, Key, Kinds, Text) {#Component, #Key, ZB_COUNT Kinds, Text},
#include "host/message_keys.def"
#undef ZB_MESSAGE
#undef ZB_COUNT
  };
  return entries;
}

}  // namespace zembra

void zbErrMsgId(const resource_core::BaseMsgID& message) {
  throw zembra::HostError(zembra::contentOf(message));
}

void zbWarningMsgId(const resource_core::BaseMsgID& message) {
  const auto content = zembra::contentOf(message);
  zembra::issueWarning({content.identifier, content.text, content.cause});
  zembra::setPendingCause(content.cause);  // an error that follows has the same one
}
