// A host array as a buffer that HDF5 can read.
#pragma once

#include <cstddef>

#include "runtime/arena.hpp"
#include "runtime/array.hpp"
#include "runtime/datatype_plan.hpp"
#include "runtime/strided.hpp"
#include "runtime/value_path.hpp"

namespace zembra {

/// Lays arrays out as memory datatypes ask, and owns what that takes: texts,
/// sequences, converted copies. An array that has the layout already is used as it is.
class Buffers {
 public:
  /// `count` elements of the array in the datatype's layout; never null. Valid while
  /// this object and the array live. Raises a host error when the array does not fit.
  const std::byte* layOut(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                          const ValuePath& path);

 private:
  const std::byte* layOutFitting(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                                 const ValuePath& path);
  void scatter(const DatatypePlan& plan, const Strided<std::byte>& to, const zbArray* data,
               const ValuePath& path);
  void scatterTexts(const DatatypePlan& plan, const Strided<std::byte>& to, const zbArray* data,
                    const ValuePath& path);
  void scatterSequences(const DatatypePlan& plan, const Strided<std::byte>& to, const zbArray* data,
                        const ValuePath& path);

  Arena arena_;
};

}  // namespace zembra
