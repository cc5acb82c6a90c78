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

/// Fails as HDF5 does, with a record that says why: for what HDF5 itself should refuse
/// and, in some release, does not.
inline herr_t refuse(const char* function, const char* reason) {
  H5Eclear2(H5E_DEFAULT);
  H5Epush2(H5E_DEFAULT, "h5gate", function, 0, H5E_ERR_CLS, H5E_ARGS, H5E_BADVALUE, "%s", reason);
  return -1;
}

/// H5Ewalk2. 1.8 walks on where a visitor stops it with a positive status: it is asked
/// no more then.
inline herr_t walkErrors(hid_t stack, H5E_direction_t direction, H5E_walk2_t visit, void* data) {
  struct Walk {
    H5E_walk2_t visit = nullptr;
    void* data = nullptr;
    bool stopped = false;
    static herr_t step(unsigned position, const H5E_error2_t* record, void* self) {
      auto& walk = *static_cast<Walk*>(self);
      if (walk.stopped) return 0;
      const herr_t status = walk.visit(position, record, walk.data);
      walk.stopped = status > 0;
      return status;
    }
  };
  if constexpr (kSince110) return H5Ewalk2(stack, direction, visit, data);
  Walk walk{visit, data};
  return H5Ewalk2(stack, direction, Walk::step, &walk);
}

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
