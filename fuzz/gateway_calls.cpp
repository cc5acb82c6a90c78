#include "fuzz/gateway_calls.hpp"

#include <algorithm>
#include <cstdio>
#include <numeric>

#include "runtime/call.hpp"
#include "runtime/gateway_loader.hpp"

namespace fuzz {
namespace {

constexpr std::size_t kMostShown = 12;

std::string number(double value) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.17g", value);
  return digits;
}

std::string quoted(const std::string& text) {
  std::string words = "'";
  for (const char letter : text.substr(0, 80)) {
    const bool plain = letter >= ' ' && letter <= '~';
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned char>(letter));
    words += plain ? std::string(1, letter) : escaped;
  }
  return words + (text.size() > 80 ? "...' of " + std::to_string(text.size()) : "'");
}

std::string shapeOf(const zbArray* array) {
  std::string words;
  for (std::size_t i = 0; i < array->rank; ++i) {
    words += (i == 0 ? "" : "x") + std::to_string(array->shape()[i]);
  }
  return words;
}

std::string numbers(const zbArray* array) {
  const std::size_t size = zbGetElementSize(array);
  const auto* bytes = static_cast<const unsigned char*>(zbGetData(array));
  std::string words = std::string(zbGetClassName(array)) + " " + shapeOf(array) + " [";
  const std::size_t count = zbGetNumberOfElements(array);
  for (std::size_t i = 0; i < std::min(count, kMostShown); ++i) {
    if (i > 0) words += ' ';
    if (zbGetClass(array) == zbClass::Double) {
      words += number(static_cast<const double*>(zbGetData(array))[i]);
      continue;
    }
    for (std::size_t k = size; k-- > 0;) {
      char digits[4];
      std::snprintf(digits, sizeof digits, "%02x", bytes[i * size + k]);
      words += digits;
    }
  }
  return words + (count > kMostShown ? " ...]" : "]");
}

}  // namespace

Values call(const std::string& function, const Values& arguments, int nOut) {
  const Value name = zembra::makeText(function);
  std::vector<const zbArray*> ins = {name.get()};
  for (const Value& argument : arguments) ins.push_back(argument.get());
  return zembra::callExtension(zembra::loadGateway(), nOut, ins);
}

std::string textOf(const Value& value) {
  return {static_cast<const char*>(zbGetData(value.get())), zbGetNumberOfElements(value.get())};
}

Values cellsOf(const Value& cell) {
  Values values;
  for (zbArray* item : cell.get()->composite->values) values.push_back(zembra::share(item));
  return values;
}

std::string inWords(const Value& value) {
  const zbArray* array = value.get();
  const std::size_t count = zbGetNumberOfElements(array);
  switch (zbGetClass(array)) {
    case zbClass::Char: return count > 0 ? quoted(textOf(value)) : "''";
    case zbClass::Cell: return "{" + inWords(cellsOf(value)) + "}";
    case zbClass::Function: return "@function";
    case zbClass::Struct: {
      const auto& names = array->composite->names;
      std::string words = "struct(";
      for (std::size_t i = 0; i < names.size() && i < array->composite->values.size(); ++i) {
        words += names[i] + "=" + inWords(zembra::share(array->composite->values[i])) + " ";
      }
      return words + ")";
    }
    case zbClass::Double:
      if (count == 1) return number(zbGetScalar(array));
      [[fallthrough]];
    default: return zbIsNumeric(array) || zbGetData(array) != nullptr ? numbers(array) : "[]";
  }
}

std::string inWords(const Values& values) {
  std::string words;
  for (const Value& value : values) words += (words.empty() ? "" : ", ") + inWords(value);
  return words;
}

}  // namespace fuzz
