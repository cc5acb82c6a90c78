#include "tests/unit/failures.hpp"

namespace h5test {

Failure raisedBy(const std::function<void()>& action) {
  try {
    action();
    return std::nullopt;
  } catch (const zembra::HostError& error) {
    return error;
  }
}

std::string complaint(const std::function<void()>& action) {
  const Failure error = raisedBy(action);
  if (!error) return "nothing";
  std::string parameters;
  for (const Parameter& parameter : (*error)->parameters) {
    const auto* words = std::get_if<std::string>(&parameter);
    parameters += parameters.empty() ? "(" : ",";
    parameters += words != nullptr ? *words : std::to_string(std::get<std::int64_t>(parameter));
  }
  return (*error)->key + parameters + (parameters.empty() ? "" : ")");
}

std::string causeOf(const std::exception_ptr& cause) {
  if (!cause) return "none";
  try {
    std::rethrow_exception(cause);
  } catch (const std::exception& error) {
    return error.what();
  }
}

Failure failureOf(std::string_view name, const Arguments& arguments, int nOut) {
  Failure error = raisedBy([&] { callWith(nOut, name, arguments); });
  if (!error) ADD_FAILURE() << name << " raised nothing";
  return error;
}

}  // namespace h5test
