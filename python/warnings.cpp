#include "python/warnings.hpp"

#include "python/interpreter_lock.hpp"
#include "python/interrupt.hpp"
#include "python/package_classes.hpp"
#include "python/python_exception.hpp"
#include "python/utf8.hpp"
#include "runtime/host_error.hpp"

namespace zembra::python {
namespace {

void warn(const Warning& warning) {
  const InterpreterHeld held;
  InterruptScope::throwIfNoted();  // the warning would be about that
  try {
    const py::object issued =
        PackageClasses::get().gatewayWarning(toStr(warning.text), toStr(warning.identifier));
    setCause(issued, warning.cause);
    // Level 1 is the innermost Python frame: the line that called the gateway.
    py::module_::import("warnings").attr("warn")(issued, py::arg("stacklevel") = 1);
  } catch (py::error_already_set& error) {
    error.restore();
    throw InterruptScope::takePending();
  }
}

}  // namespace

void routeWarnings() { setWarningHandler(warn); }

}  // namespace zembra::python
