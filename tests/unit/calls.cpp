#include "tests/unit/calls.hpp"

#include "host/call.hpp"
#include "runtime/call.hpp"
#include "runtime/host_error.hpp"
#include "tests/unit/raised_keys.hpp"

namespace h5test {

Results callWithInputs(int nOut, const std::vector<Value>& inputs) {
  std::vector<const zbArray*> ins;
  for (const Value& input : inputs) ins.push_back(input.get());
  try {
    return zembra::callExtension(zebFunction, nOut, ins);
  } catch (const zembra::HostError& error) {
    noteRaised(error->key);
    throw;
  }
}

Results callWith(int nOut, std::string_view name, const Arguments& arguments) {
  std::vector<Value> inputs = {text(name)};
  for (const Argument& argument : arguments) inputs.push_back(argument.array);
  return callWithInputs(nOut, inputs);
}

}  // namespace h5test
