// A compound's members as arrays, bound to them once and filled with one part of the
// elements after the other: the part that is at work stays in the cache.
#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "runtime/array.hpp"
#include "runtime/datatype_plan.hpp"
#include "runtime/lane.hpp"
#include "runtime/strided.hpp"

namespace zembra {

class Columns {
 public:
  /// Whether the elements are nothing but columns: HDF5 need not convert them once more,
  /// and they lead to no other memory.
  static bool suit(const DatatypePlan& plan);

  /// The plan must live as long as this object. `extent` is the fastest-varying first.
  Columns(const DatatypePlan& plan, const Shape& extent);

  /// The elements from the `first` one on. Parts may come from several threads at once.
  void put(const Strided<const std::byte>& elements, std::size_t first) const {
    copyLanes(std::span<const Lane<Gathering>>(lanes_), elements, first);
  }

  /// The structure; nothing is put any more.
  Value take();

 private:
  Value make(const DatatypePlan& plan, const Shape& extent, const LanePlace& place);

  std::vector<Lane<Gathering>> lanes_;
  std::vector<std::pair<const DatatypePlan*, zbArray*>> arrays_;
  Value structure_;
};

}  // namespace zembra
