// Blocks of memory for the data of arrays and for HDF5's buffers, and sizes that are
// certain to be the true ones: a product that overflows is an error.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

namespace zembra {

/// Uninitialised memory for `bytes` bytes, 64-byte aligned; big blocks ask for
/// huge pages. Raises a host error when it cannot be had.
std::shared_ptr<void> allocateBlock(std::size_t bytes);

/// a * b, or a host error: a buffer of that size does not fit in memory.
std::size_t checkedProduct(std::size_t a, std::size_t b);

/// The elements of an array of that shape; none when they are more than can be counted.
std::optional<std::size_t> countElements(std::span<const std::size_t> shape);

}  // namespace zembra
