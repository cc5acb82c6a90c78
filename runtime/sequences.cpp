#include "runtime/sequences.hpp"

#include "runtime/array_class.hpp"

namespace zembra {
namespace {

bool isNumbers(const zbArray* data) { return zbIsNumeric(data) || data->type == zbClass::Logical; }

/// Numbers of two dimensions or more that are known as such: the last one counts sequences.
bool isMatrix(const zbArray* data) { return data->naturalRank >= 2 && isNumbers(data); }

Value columnOf(const zbArray* matrix, std::size_t index, std::size_t count) {
  const std::size_t length = matrix->elements / count;
  auto* const data = static_cast<std::byte*>(matrix->data);
  return makeOnBlock(matrix->type, {length, 1}, data + index * length * elementSize(matrix->type),
                     nullptr);
}

}  // namespace

std::size_t sequencesIn(const zbArray* data) {
  if (data->type == zbClass::Cell) return data->elements;
  return isMatrix(data) ? data->shape()[data->rank - 1] : 1;
}

bool holdsSequences(const zbArray* data, std::size_t count) {
  const bool single = count == 1 && data->naturalRank == 1 && isNumbers(data);
  return data->type == zbClass::Cell || isMatrix(data) || single;
}

Value sequenceIn(const zbArray* data, std::size_t index, std::size_t count, const ValuePath& path) {
  if (data->type == zbClass::Cell) {
    return share(const_cast<zbArray*>(path.requireItem(data, index)));
  }
  return isMatrix(data) ? columnOf(data, index, count) : share(const_cast<zbArray*>(data));
}

}  // namespace zembra
