// Functions that are tried with one first input after the other.
#pragma once

#include <string>

#include "tests/unit/failures.hpp"

namespace h5test {

struct FirstInput {
  const char* function;
  Arguments rest;           // the inputs after the first
  std::string description;  // what the first is called
};

inline Failure failureOn(const FirstInput& of, const Argument& first) {
  Arguments arguments = {first};
  arguments.insert(arguments.end(), of.rest.begin(), of.rest.end());
  return failureOf(of.function, arguments);
}

inline void expectFailure(const FirstInput& of, const Argument& first, std::string_view key,
                          const Parameters& parameters) {
  const Failure error = failureOn(of, first);
  if (!error) return;
  EXPECT_EQ((*error)->key, key) << of.function << ": " << error->what();
  EXPECT_EQ((*error)->parameters, parameters) << of.function << ": " << error->what();
}

}  // namespace h5test
