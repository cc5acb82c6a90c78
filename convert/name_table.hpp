// Tables of names that are known when the gateway is compiled: sorted and checked
// by the compiler, searched by halving and without an allocation. An entry is any
// record with a `name`.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <span>
#include <string_view>

namespace h5gate {

/// The entries in the order of their names, byte by byte.
template <class Entry, std::size_t N>
constexpr std::array<Entry, N> sortedByName(std::array<Entry, N> entries) {
  std::ranges::sort(entries, {}, &Entry::name);
  return entries;
}

/// Whether the names ascend and none stands twice.
template <class Entry, std::size_t N>
constexpr bool ascendsByName(const std::array<Entry, N>& entries) {
  return std::ranges::adjacent_find(entries, std::ranges::greater_equal{}, &Entry::name) ==
         entries.end();
}

/// The entry of exactly this name, null when there is none.
template <class Entry>
constexpr const Entry* findByName(std::span<const Entry> sorted, std::string_view name) {
  const auto place = std::ranges::lower_bound(sorted, name, {}, &Entry::name);
  return place != sorted.end() && place->name == name ? &*place : nullptr;
}

}  // namespace h5gate
