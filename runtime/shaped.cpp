#include "runtime/shaped.hpp"

#include <algorithm>
#include <limits>

namespace zembra {

Shape within(const Shape& dimensions, Shape extent) {
  extent.insert(extent.begin(), dimensions.begin(), dimensions.end());
  return extent;
}

Value withNaturalRank(Value array, const Shape& extent) {
  constexpr auto kLimit = std::numeric_limits<decltype(zbArray::naturalRank)>::max();
  if (extent.size() <= static_cast<std::size_t>(kLimit)) {
    array.get()->naturalRank = static_cast<decltype(zbArray::naturalRank)>(extent.size());
  }
  return array;
}

void endTexts(const DatatypePlan& plan, zbArray* array) {
  if (!plan.terminated) return;
  auto* text = static_cast<char*>(array->data);
  for (std::size_t i = 0; i < array->elements; i += plan.size, text += plan.size) {
    char* const end = std::find(text, text + plan.size, '\0');
    std::fill(end, text + plan.size, '\0');
  }
}

}  // namespace zembra
