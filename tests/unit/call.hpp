// Calls through the gateway's entry point, as a host makes them.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/array.hpp"
#include "runtime/call.hpp"
#include "runtime/host_error.hpp"

namespace h5test {

using zembra::Parameter;
using zembra::Shape;
using zembra::Value;
using Results = std::vector<Value>;

// --- Arguments ---------------------------------------------------------------

Value text(std::string_view words);
Value number(double value);
Value logical(bool value);
Value empty();
/// 1-by-n doubles, n-by-1 doubles, a column-major matrix.
Value row(std::initializer_list<double> values);
Value column(std::initializer_list<double> values);
Value matrix(std::size_t rows, std::size_t columns, std::initializer_list<double> values);
inline Value dims(std::initializer_list<double> values) { return row(values); }
/// 1-by-n of any numeric class, from doubles.
Value numeric(zbClass type, std::initializer_list<double> values);
Value cell(std::initializer_list<Value> values);  // 1-by-n
Value structure(std::initializer_list<std::pair<std::string, Value>> fields);
/// An H5ZB.id object.
Value identifier(double value);
/// A host function: what it returns are its outputs, what it throws its failure.
using Function = std::function<Results(int outputs, std::span<zbArray* const> inputs)>;
Value function(Function body);
/// One of everything that no numeric, text or identifier argument takes.
std::vector<Value> strangers();

/// Whatever a test writes naturally as an argument.
struct Argument {
  Argument(double value) : array(number(value)) {}
  Argument(int value) : array(number(value)) {}
  Argument(bool value) : array(logical(value)) {}
  Argument(const char* words) : array(text(words)) {}
  Argument(const std::string& words) : array(text(words)) {}
  Argument(Value value) : array(std::move(value)) {}
  Value array;
};
using Arguments = std::vector<Argument>;

// --- Calls ----------------------------------------------------------------------

/// The function's name is the first input.
Results callWithInputs(int nOut, const std::vector<Value>& inputs);
Results callWith(int nOut, std::string_view name, const Arguments& arguments);

template <class... Inputs>
Results call(std::string_view name, Inputs&&... inputs) {
  return callWith(5, name, {Argument(std::forward<Inputs>(inputs))...});
}

/// The single result of a call, as a number, as text.
template <class... Inputs>
Value result(std::string_view name, Inputs&&... inputs) {
  Results results = call(name, std::forward<Inputs>(inputs)...);
  if (results.size() != 1) ADD_FAILURE() << name << " gave " << results.size() << " results";
  return results.empty() ? empty() : results[0];
}
double numberOf(const Value& value);
std::string textOf(const Value& value);
std::vector<double> numbersOf(const Value& value);
Shape shapeOf(const Value& value);
zbClass classOf(const Value& value);
/// A borrowed field, element or property as a value of its own; fails when absent.
Value field(const Value& structure, const char* name);
Value element(const Value& cell, std::size_t index);

template <class... Inputs>
double callNumber(std::string_view name, Inputs&&... inputs) {
  return numberOf(result(name, std::forward<Inputs>(inputs)...));
}
template <class... Inputs>
std::string callText(std::string_view name, Inputs&&... inputs) {
  return textOf(result(name, std::forward<Inputs>(inputs)...));
}

// --- Failures ---------------------------------------------------------------------

/// Keys that calls have raised, or issued as warnings, since the program began.
const std::set<std::string, std::less<>>& raisedKeys();
/// Collects warnings; the next test has the host's own handler again.
class Warnings {
 public:
  Warnings();
  ~Warnings();
  Warnings(const Warnings&) = delete;
  Warnings& operator=(const Warnings&) = delete;
  std::vector<zembra::Warning> list;
};

/// The host error that the call raises; a null pointer and a test failure when it
/// raises none.
std::shared_ptr<const zembra::HostError> failureOf(std::string_view name,
                                                   const Arguments& arguments, int nOut = 5);

/// The call raises exactly this key with exactly these parameters.
template <class... Inputs>
void expectRaises(std::string_view key, const std::vector<Parameter>& parameters,
                  std::string_view name, Inputs&&... inputs) {
  const auto error = failureOf(name, {Argument(std::forward<Inputs>(inputs))...});
  if (!error) return;
  EXPECT_EQ((*error)->key, key) << name << ": " << error->what();
  EXPECT_EQ((*error)->parameters, parameters) << name << ": " << error->what();
}

/// The call raises HDF5's error stack.
template <class... Inputs>
void expectLibraryError(std::string_view name, Inputs&&... inputs) {
  const auto error = failureOf(name, {Argument(std::forward<Inputs>(inputs))...});
  if (!error) return;
  EXPECT_TRUE((*error)->libraryFailure) << name << ": " << error->what();
}

/// The call raises `wrongNumberOfInputs` for each of these numbers of inputs.
void expectWrongCounts(std::string_view name, std::initializer_list<int> counts);

// --- Files and identifiers -----------------------------------------------------------

/// A path of the running test's own, in a folder that the test program removes.
std::string temporaryPath(std::string_view name = "file.h5");

/// An HDF5 file of the core driver, without a file on disk; closed at the end.
class MemoryFile {
 public:
  MemoryFile();
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  operator Argument() const { return {id_}; }
  [[nodiscard]] double id() const { return id_; }

 private:
  double id_;
};

/// Open HDF5 identifiers of every kind. Every test must end with as many as it
/// began with: the test program checks it.
std::size_t openIdentifiers();

}  // namespace h5test
