// A compound's members as arrays, bound to them once and filled with one part of the
// elements after the other: the part that is at work stays in the cache.
#pragma once

#include <cstddef>
#include <vector>

#include "runtime/array.hpp"
#include "runtime/datatype_plan.hpp"
#include "runtime/strided.hpp"

namespace zembra {

class Columns {
 public:
  /// Whether the elements are nothing but columns: HDF5 need not convert them once more,
  /// and they lead to no other memory.
  static bool suit(const DatatypePlan& plan);

  /// The plan must live as long as this object. `extent` is the fastest-varying first.
  Columns(const DatatypePlan& plan, const Shape& extent);

  /// The elements from the `first` one on.
  void put(const Strided<const std::byte>& elements, std::size_t first);

  /// The structure; nothing is put any more.
  Value take();

 private:
  struct Column {
    const DatatypePlan* plan = nullptr;
    zbArray* array = nullptr;
    std::size_t bytes = 0;  // of an element's part
  };

  Value make(const DatatypePlan& plan, const Shape& extent, std::size_t repeat);
  void put(const DatatypePlan& plan, const Strided<const std::byte>& from, std::size_t first,
           std::vector<Column>::iterator& column);

  const DatatypePlan& plan_;
  std::vector<Column> columns_;
  Value structure_;
};

}  // namespace zembra
