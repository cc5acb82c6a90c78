// Enumerated arguments: one routine for all enumerations.
#include "convert/enumerations.hpp"

#include <string>

#include "convert/failure.hpp"
#include "convert/number_cast.hpp"
#include "convert/text.hpp"

namespace h5gate {
namespace {

/// One real number, true and false among them.
bool isRealScalar(const zbArray* argument) {
  return (zbIsNumeric(argument) || zbGetClass(argument) == zbClass::Logical) &&
         !zbIsSparse(argument) && !zbIsComplex(argument) && zbGetNumberOfElements(argument) == 1;
}

}  // namespace

std::int32_t enumValueOf(const zbArray* argument, std::span<const EnumName> names) {
  if (isText(argument)) {
    const std::string name = textOf(argument);
    if (const EnumName* found = findByName(names, name)) return found->value;
    raiseAbout<msg::unmatchedStringNoParam>(argument, name);
  }
  if (!isRealScalar(argument)) raiseAbout<msg::badEnumInputType>(argument);

  const std::int32_t number = truncateToInt32(zbGetScalar(argument));
  const auto count = static_cast<std::int64_t>(names.size());
  if (number < 0 || number >= count) raiseAbout<msg::badEnumNumericInput>(argument, number, count);
  return number;
}

}  // namespace h5gate
