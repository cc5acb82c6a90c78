// Exceptions out of callbacks that are no errors: an interrupt, an exit. They end the call
// as themselves, whatever HDF5 and the gateway make of a callback that failed.
#pragma once

#include <optional>

#include "python/python_exception.hpp"

namespace zembra::python {

/// What interrupted the call of this scope, the innermost one of its thread.
class InterruptScope {
 public:
  InterruptScope();
  ~InterruptScope();
  InterruptScope(const InterruptScope&) = delete;
  InterruptScope& operator=(const InterruptScope&) = delete;

  /// The exception that is pending, out of a callback; unless it is an ordinary error, it is
  /// kept for the call around as well.
  static PythonException takePending();
  /// The call around is about to end: its callbacks need not run any more.
  static void throwIfNoted();

  /// Throws what was noted, once HDF5 has returned.
  void end() const;

 private:
  InterruptScope* outer_;
  std::optional<PythonException> noted_;
};

}  // namespace zembra::python
