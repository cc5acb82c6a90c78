// A structure's fields bound to a compound's members once, and laid out as elements of the
// compound one part after the other.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "runtime/array.hpp"
#include "runtime/datatype_plan.hpp"
#include "runtime/lane.hpp"
#include "runtime/strided.hpp"
#include "runtime/value_path.hpp"

namespace zembra {

class BoundColumns {
 public:
  /// Of a plan without variable-length data and an array that is known to make `count` of its
  /// elements, which must live as long as this object. Raises a host error for a value that no
  /// element can have.
  BoundColumns(const DatatypePlan& plan, std::size_t count, const zbArray* data,
               const ValuePath& path);

  /// The elements from the `first` one on; bytes between members stay as they are. Parts may
  /// be laid out by several threads at once.
  void lay(const Strided<std::byte>& elements, std::size_t first) const {
    copyLanes(std::span<const Lane<Scattering>>(lanes_), elements, first);
  }

 private:
  void bind(const DatatypePlan& plan, std::size_t count, const zbArray* data, const ValuePath& path,
            const LanePlace& place);

  std::vector<Lane<Scattering>> lanes_;
  std::vector<std::shared_ptr<void>> owners_;
};

}  // namespace zembra
