// Host errors and warnings.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/messages.hpp"

namespace zembra {

using Parameter = resource_core::BaseMsgID::Parameter;

/// One record of HDF5's error stack.
struct ErrorRecord {
  std::string function;
  std::string file;
  unsigned line = 0;
  std::string description;
  std::string major;
  std::string minor;
};

/// The one exception type that the host raises.
class HostError : public std::exception {
 public:
  struct Content {
    std::string identifier;  // "Zembra:h5gate:constantNotFound", "Zembra:host:...", ...
    std::string key;         // its last part
    std::vector<Parameter> parameters;
    std::string text;
    bool libraryFailure = false;     // HDF5's own failure
    std::vector<ErrorRecord> stack;  // innermost first; also where HDF5 had a part in it
    std::string libraryReason;       // what the stack says, in a line
    const zbArray* input = nullptr;  // which was refused, if it is one; to compare with
    std::exception_ptr cause;        // what a host function threw, where that is the reason
  };
  explicit HostError(Content content)
      : content_(std::make_shared<const Content>(std::move(content))) {}
  [[nodiscard]] const char* what() const noexcept override { return content_->text.c_str(); }
  [[nodiscard]] const Content* operator->() const { return content_.get(); }

 private:
  std::shared_ptr<const Content> content_;  // copying must not throw
};

/// Raises `Zembra:host:<key>`.
[[noreturn]] void raiseHostError(std::string_view key, std::string text,
                                 std::vector<Parameter> parameters = {});

struct Warning {
  std::string identifier;
  std::string text;
  std::exception_ptr cause;
};
/// Who receives warnings; standard error until set, and again when set to none. May
/// throw: the exception ends the call that warned.
void setWarningHandler(std::function<void(const Warning&)> handler);
/// Passes a warning to whoever receives them.
void issueWarning(const Warning& warning);

/// Every message that the catalogue knows (component, key, text): for tests and documents.
struct CatalogueEntry {
  std::string_view component;
  std::string_view key;
  std::size_t parameters;
  std::string_view text;
};
const std::vector<CatalogueEntry>& catalogue();

}  // namespace zembra
