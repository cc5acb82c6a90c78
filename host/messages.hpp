// The host's message catalogue, as extensions see it: one class a key, raised as
// an error or issued as a warning. The texts are the catalogue's business.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "host/library_error.hpp"

struct zbArray;

namespace resource_core {

/// A catalogued message: its component, its key and its parameters in order. Where they
/// are known, the circumstances come with it, for hosts that tell more than the text.
class BaseMsgID {
 public:
  using Parameter = std::variant<std::string, std::int64_t>;

  [[nodiscard]] std::string_view component() const { return component_; }
  [[nodiscard]] std::string_view key() const { return key_; }
  [[nodiscard]] const std::vector<Parameter>& parameters() const { return parameters_; }

  /// The input that was refused; null where it is not a single one.
  [[nodiscard]] const zbArray* input() const { return input_; }
  void concern(const zbArray* input) { input_ = input; }
  /// HDF5 failed: its error stack, as it stands, says why.
  [[nodiscard]] bool libraryFailed() const { return libraryFailed_; }
  void blameLibrary() { libraryFailed_ = true; }

 protected:
  BaseMsgID(std::string_view component, std::string_view key, std::vector<Parameter> parameters)
      : component_(component), key_(key), parameters_(std::move(parameters)) {}
  ~BaseMsgID() = default;

 private:
  std::string_view component_;
  std::string_view key_;
  std::vector<Parameter> parameters_;
  const zbArray* input_ = nullptr;
  bool libraryFailed_ = false;
};

}  // namespace resource_core

// One class a key, each constructed from exactly its parameters.
namespace Zembra::fmtio {

using String = std::string;
using Integer = std::int64_t;

template <class... Kinds>
class Message : public resource_core::BaseMsgID {
 protected:
  Message(std::string_view component, std::string_view key, Kinds... parameters)
      : BaseMsgID(component, key, {Parameter(std::move(parameters))...}) {}
};

#define ZB_KINDS(...) Message<__VA_ARGS__>
#define ZB_MESSAGE(Component, Key, Kinds, Text)                                 \
  namespace Component {                                                         \
  class Key final : public ZB_KINDS Kinds {                                     \
   public:                                                                      \
    template <class... Parameters>                                              \
    explicit Key(Parameters&&... parameters)                                    \
        : Message(#Component, #Key, std::forward<Parameters>(parameters)...) {} \
  };                                                                            \
  }
#include "host/message_keys.def"
#undef ZB_MESSAGE
#undef ZB_KINDS

}  // namespace Zembra::fmtio

/// Raises a host error made from the message. Does not return; HDF5's error
/// stack stays as it is.
[[noreturn]] void zbErrMsgId(const resource_core::BaseMsgID& message);

/// Issues a host warning.
void zbWarningMsgId(const resource_core::BaseMsgID& message);
