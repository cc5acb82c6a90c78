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

  /// Keeps what a callback raised for the call around it, unless it is an ordinary error.
  static void note(const PythonException& exception);
  /// The call around is about to end: its callbacks need not run any more.
  static void throwIfNoted();

  /// Throws what was noted, once HDF5 has returned.
  void end() const;

 private:
  InterruptScope* outer_;
  std::optional<PythonException> noted_;
};

}  // namespace zembra::python
