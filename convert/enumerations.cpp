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
    raise<msg::unmatchedStringNoParam>(name);
  }
  if (!isRealScalar(argument)) raise<msg::badEnumInputType>();

  const std::int32_t number = truncateToInt32(zbGetScalar(argument));
  const auto count = static_cast<std::int64_t>(names.size());
  if (number < 0 || number >= count) raise<msg::badEnumNumericInput>(number, count);
  return number;
}

}  // namespace h5gate
