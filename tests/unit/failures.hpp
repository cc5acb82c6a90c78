// What calls raise: the error itself, and what tests expect of it.
#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runtime/host_error.hpp"
#include "tests/unit/calls.hpp"

namespace h5test {

using zembra::Parameter;
using Parameters = std::vector<Parameter>;
using Failure = std::optional<zembra::HostError>;

/// The host error that the action raises, if it raises one.
Failure raisedBy(const std::function<void()>& action);
/// Its key and its parameters: "key", "key(parameter,parameter)"; or "nothing".
std::string complaint(const std::function<void()>& action);
/// What the exception says that caused an error; "none" where nothing did.
std::string causeOf(const std::exception_ptr& cause);

/// The host error that the call raises; none and a test failure when it raises none.
Failure failureOf(std::string_view name, const Arguments& arguments, int nOut = 5);

/// The call raises exactly this key with exactly these parameters.
template <class... Inputs>
void expectRaises(std::string_view key, const Parameters& parameters, std::string_view name,
                  Inputs&&... inputs) {
  const Failure error = failureOf(name, {Argument(std::forward<Inputs>(inputs))...});
  if (!error) return;
  EXPECT_EQ((*error)->key, key) << name << ": " << error->what();
  EXPECT_EQ((*error)->parameters, parameters) << name << ": " << error->what();
}

/// The call raises HDF5's error stack.
template <class... Inputs>
void expectLibraryError(std::string_view name, Inputs&&... inputs) {
  const Failure error = failureOf(name, {Argument(std::forward<Inputs>(inputs))...});
  if (!error) return;
  EXPECT_TRUE((*error)->libraryFailure) << name << ": " << error->what();
}

/// The call raises what the host itself refuses, not the gateway.
template <class... Inputs>
void expectHostError(std::string_view name, Inputs&&... inputs) {
  const Failure error = failureOf(name, {Argument(std::forward<Inputs>(inputs))...});
  if (!error) return;
  EXPECT_TRUE((*error)->identifier.starts_with("Zembra:host:")) << name << ": " << error->what();
}

}  // namespace h5test
