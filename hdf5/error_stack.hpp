// HDF5's error stack, kept across calls that would clear it.
#pragma once

#include <exception>

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

}  // namespace hdf5
