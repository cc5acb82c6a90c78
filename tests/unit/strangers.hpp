// Arrays that converters refuse.
#pragma once

#include <vector>

#include "tests/unit/host_functions.hpp"
#include "tests/unit/values.hpp"

namespace h5test {

/// One of everything that no numeric, text or identifier argument takes.
inline std::vector<Value> strangers() {
  return {cell({number(1)}),
          structure({{"a", number(1)}}),
          function([](int, std::span<zbArray* const>) { return Results(); }),
          zembra::makeObject("Other.id", {{"identifier", number(1)}}),
          numeric(zbClass::Int32, {1}),
          numeric(zbClass::Single, {1}),
          logical(true)};
}

}  // namespace h5test
