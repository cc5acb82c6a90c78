#include "python/dropped_results.hpp"

#include <array>

#include "python/interpreter_lock.hpp"
#include "runtime/call.hpp"
#include "runtime/gateway_loader.hpp"

namespace zembra::python {
namespace {

void close(double identifier) {
  if (!(identifier > 0)) return;  // a failure that the function hands back
  const Value name = makeText("H5Idec_ref");
  const Value number = makeDouble(identifier);
  const std::array<const zbArray*, 2> inputs{name.get(), number.get()};
  const InterpreterReleased released;  // a file may have much to write
  callExtension(loadGateway(), 1, inputs);
}

void closeAll(const zbArray* identifiers) {
  if (identifiers->type != zbClass::Double) return;
  const auto* const numbers = static_cast<const double*>(identifiers->data);
  for (std::size_t i = 0; i < identifiers->elements; ++i) close(numbers[i]);
}

}  // namespace

void closeDropped(std::string_view function, const Form* form, std::size_t arguments,
                  std::size_t asked, std::span<zbArray* const> dropped) {
  for (std::size_t i = 0; i < dropped.size(); ++i) {
    if (dropped[i] == nullptr) continue;
    if (form == nullptr) form = formFor(formsOf(function), arguments);
    if (form == nullptr) return;
    if (kindIn(form->results, asked + i) == Kind::NewIdentifier) closeAll(dropped[i]);
  }
}

}  // namespace zembra::python
