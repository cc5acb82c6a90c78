#include "runtime/host_error.hpp"

#include <cstdio>

namespace zembra {
namespace {

void printWarning(const Warning& warning) {
  std::fprintf(stderr, "Warning: %s\n", warning.text.c_str());
}

std::function<void(const Warning&)>& warningHandler() {
  static std::function<void(const Warning&)> handler = printWarning;
  return handler;
}

}  // namespace

void raiseHostError(std::string_view key, std::string text, std::vector<Parameter> parameters) {
  HostError::Content content;
  content.key = key;
  content.identifier = "Zembra:host:" + content.key;
  content.parameters = std::move(parameters);
  content.text = std::move(text);
  throw HostError(std::move(content));
}

void setWarningHandler(std::function<void(const Warning&)> handler) {
  warningHandler() = handler ? std::move(handler) : printWarning;
}

void issueWarning(const Warning& warning) { warningHandler()(warning); }

}  // namespace zembra
