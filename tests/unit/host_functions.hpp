// Host functions for HDF5 to call: of any body, and those that many tests need.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "runtime/call.hpp"
#include "tests/unit/values.hpp"

namespace h5test {

/// What a call gives, or a host function.
using Results = std::vector<Value>;
using Names = std::vector<std::string>;

/// What the body returns are the function's outputs, what it throws its failure.
using Function = std::function<Results(int outputs, std::span<zbArray* const> inputs)>;

inline Value function(Function body) {
  class Target : public zembra::Callable {
   public:
    explicit Target(Function body) : body_(std::move(body)) {}
    Results call(int outputs, std::span<zbArray* const> inputs) override {
      return body_(outputs, inputs);
    }

   private:
    Function body_;
  };
  return zembra::makeFunction(std::make_shared<Target>(std::move(body)));
}

/// An input of a host function as a value that outlives the call.
inline Value borrowed(zbArray* array) { return zembra::share(array); }

/// Notes the name of each member, answers `status`, and hands the user data on where
/// there are any.
inline Value noteNames(Names& names, double status = 0) {
  return function([&names, status](int /*outputs*/, std::span<zbArray* const> inputs) {
    names.push_back(textOf(borrowed(inputs[1])));
    if (inputs.size() == 2) return Results{number(status)};
    return Results{number(status), borrowed(inputs[2])};
  });
}

/// Does what the body says at its n-th call, counted from 1.
inline Value counting(int& calls, std::function<Results(int call)> body) {
  return function([&calls, body = std::move(body)](int /*outputs*/, std::span<zbArray* const>) {
    return body(++calls);
  });
}

/// Must not be called.
inline Value neverCalled() {
  return function([](int /*outputs*/, std::span<zbArray* const> /*inputs*/) -> Results {
    ADD_FAILURE() << "there was nothing to call the function for";
    return {number(0), empty()};
  });
}

/// Throws when it is called for the n-th time, counted from 1.
inline Value throwAtCall(int n, std::string report, int* calls = nullptr) {
  return function([n, report = std::move(report), calls, called = 0](
                      int /*outputs*/, std::span<zbArray* const> inputs) mutable -> Results {
    ++called;
    if (calls != nullptr) *calls = called;
    if (called == n) throw std::runtime_error(report);
    if (inputs.size() == 2) return {number(0)};
    return {number(0), borrowed(inputs[2])};
  });
}

}  // namespace h5test
