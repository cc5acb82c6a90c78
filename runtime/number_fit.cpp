#include "runtime/number_fit.hpp"

#include <algorithm>
#include <span>

#include "host/numeric_class.hpp"

namespace zembra {
namespace {

/// Calls `use` with the numbers and a zero of the other class's type.
template <class Use>
bool withNumbers(const zbArray* numbers, zbClass type, Use use) {
  const auto never = [] { return false; };
  return Zembra::withNumericType(
      numbers->type,
      [&](auto from) {
        const std::span values(static_cast<const decltype(from)*>(numbers->data),
                               numbers->elements);
        return Zembra::withNumericType(
            type, [&](auto to) { return use(values, to); }, never);
      },
      never);
}

}  // namespace

bool allHold(const zbArray* numbers, zbClass type) {
  return withNumbers(numbers, type, [](auto values, auto to) {
    return std::ranges::all_of(values, [](auto value) { return holds<decltype(to)>(value); });
  });
}

void castNumbers(const zbArray* numbers, zbClass type, void* place) {
  withNumbers(numbers, type, [place](auto values, auto to) {
    using To = decltype(to);
    std::ranges::transform(values, static_cast<To*>(place),
                           [](auto value) { return static_cast<To>(value); });
    return true;
  });
}

}  // namespace zembra
