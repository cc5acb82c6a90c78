#include "runtime/lane.hpp"

namespace zembra {

LanePlace LanePlace::at(std::size_t distance) const {
  LanePlace part = *this;
  part.offset += distance;
  return part;
}

LanePlace LanePlace::split(std::size_t count, std::size_t stride) const {
  LanePlace part = *this;
  part.levels.push_back({count, stride});
  return part;
}

LanePlace LanePlace::ofPieces(std::size_t pieceSize) const {
  LanePlace whole = *this;
  whole.size = whole.bytes = pieceSize;
  for (const Level& level : levels) whole.bytes *= level.count;
  while (!whole.levels.empty() && whole.levels.back().stride == whole.size) {
    whole.size *= whole.levels.back().count;
    whole.levels.pop_back();
  }
  return whole;
}

void Gathering::copy(Elements elements, std::size_t stride, Column column, std::size_t size,
                     std::size_t count) {
  withConstantSize(size,
                   [&](auto bytes) { copyEach(elements, stride, column, bytes, count, bytes); });
}

void Scattering::copy(Elements elements, std::size_t stride, Column column, std::size_t size,
                      std::size_t count) {
  withConstantSize(size,
                   [&](auto bytes) { copyEach(column, bytes, elements, stride, count, bytes); });
}

}  // namespace zembra
