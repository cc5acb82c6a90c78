// Information records as 1-by-1 host structures: a record's fields stand in one
// table of names and getters, in the order in which scripts see them.
#pragma once

#include <array>
#include <cstddef>

#include "convert/number_results.hpp"
#include "host/array.hpp"

namespace h5gate {

template <class Record>
struct Field {
  const char* name;
  zbArray* (*get)(const Record& record);
};

/// The getter of a member that is a number.
template <auto Member>
constexpr auto numberOf = [](const auto& record) { return makeNumber(record.*Member); };

template <class Record, std::size_t N>
zbArray* makeRecord(const Field<Record> (&fields)[N], const Record& record) {
  std::array<const char*, N> names{};
  for (std::size_t i = 0; i < N; ++i) names[i] = fields[i].name;
  zbArray* structure = zbCreateStructArray(1, N, names.data());
  for (const Field<Record>& field : fields) {
    zbSetField(structure, 0, field.name, field.get(record));
  }
  return structure;
}

}  // namespace h5gate
