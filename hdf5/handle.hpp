// Ownership of HDF5 identifiers: a Handle closes what it holds on every path.
#pragma once

#include <cstdlib>
#include <exception>
#include <memory>
#include <utility>

#include "hdf5/compat.hpp"

namespace hdf5 {

/// Nearly every HDF5 call clears the error stack on entry, closing calls
/// included. Whatever closes things after a failure sets the stack aside first,
/// so that a script can still look at what went wrong.
class KeepErrorStack {
 public:
  KeepErrorStack() : stack_(H5Eget_current_stack()) {}
  ~KeepErrorStack() {
    if (stack_ >= 0) H5Eset_current_stack(stack_);
  }
  KeepErrorStack(const KeepErrorStack&) = delete;
  KeepErrorStack& operator=(const KeepErrorStack&) = delete;

  /// The stack set aside: other calls do not touch it.
  [[nodiscard]] hid_t id() const { return stack_; }

 private:
  hid_t stack_;
};

/// Runs a closing action; during unwinding the error stack survives it.
template <class Action>
void closeQuietly(Action action) {
  if (std::uncaught_exceptions() > 0) {
    const KeepErrorStack keep;
    action();
  } else {
    action();
  }
}

/// An owned identifier, closed by `Close`. Negative values own nothing.
template <auto Close>
class Handle {
 public:
  Handle() = default;
  explicit Handle(hid_t id) : id_(id) {}
  Handle(Handle&& other) noexcept : id_(std::exchange(other.id_, H5I_INVALID_HID)) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) {
      close();
      id_ = std::exchange(other.id_, H5I_INVALID_HID);
    }
    return *this;
  }
  ~Handle() { close(); }

  [[nodiscard]] hid_t get() const { return id_; }
  [[nodiscard]] bool valid() const { return id_ >= 0; }
  [[nodiscard]] hid_t release() { return std::exchange(id_, H5I_INVALID_HID); }
  void close() {
    if (id_ >= 0) closeQuietly([this] { Close(id_); });
    id_ = H5I_INVALID_HID;
  }

 private:
  hid_t id_ = H5I_INVALID_HID;
};

using Type = Handle<H5Tclose>;
using Space = Handle<H5Sclose>;
using PropertyList = Handle<H5Pclose>;

/// Text that HDF5 allocated, released with HDF5's own routine where there is one.
inline void freeText(void* text) {
#if H5_VERSION_GE(1, 8, 13)
  H5free_memory(text);
#else
  std::free(text);
#endif
}

struct FreeText {
  void operator()(char* text) const { freeText(text); }
};
using AllocatedText = std::unique_ptr<char, FreeText>;

}  // namespace hdf5
