#include "convert/text.hpp"

#include <memory>

#include "convert/failure.hpp"

namespace h5gate {

bool isText(const zbArray* array) { return zbGetClass(array) == zbClass::Char; }

std::string textOf(const zbArray* array) {
  const std::unique_ptr<char, decltype(&zbFree)> text(zbArrayToString(array), zbFree);
  return text.get();
}

std::string getStringArg(const zbArray* array, const char* description) {
  if (!isText(array)) {
    if (description == nullptr) raiseAbout<msg::inputArrayNotChar>(array);
    raiseAbout<msg::notString>(array, description);
  }
  return textOf(array);
}

zbArray* makeText(const std::string& text) { return zbCreateString(text.c_str()); }

}  // namespace h5gate
