// What HDF5 has filled a buffer with, as a host array.
#pragma once

#include <memory>

#include "runtime/arena.hpp"
#include "runtime/array.hpp"
#include "runtime/datatype_plan.hpp"
#include "runtime/strided.hpp"

namespace zembra {

/// An array of the elements that lie at `from`, copied out of the buffer in one
/// pass. `extent` is their shape, fastest-varying first, none for a scalar; its
/// length is remembered as the array's natural rank. `memory` is where variable-length data
/// are, which texts then stay in; without it they are copied, too.
Value gather(const DatatypePlan& plan, const Strided<const std::byte>& from, Shape extent,
             const std::shared_ptr<Arena>& memory);

/// The elements of a whole buffer lie there as they do in an array.
bool canAdopt(const DatatypePlan& plan, const std::shared_ptr<Arena>& memory);

/// Makes such a buffer the array. It holds `widest()` bytes for each element.
Value adopt(const DatatypePlan& plan, std::shared_ptr<void> block, Shape extent,
            const std::shared_ptr<Arena>& memory);

}  // namespace zembra
