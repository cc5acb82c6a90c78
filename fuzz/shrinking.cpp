#include "fuzz/shrinking.hpp"

#include <algorithm>
#include <cstddef>

#include "fuzz/call_sequence.hpp"

namespace fuzz {
namespace {

std::size_t callsIn(const Bytes& bytes) {
  return bytes.empty() ? 0 : (bytes.size() - 1 + kBytesOfCall - 1) / kBytesOfCall;
}

Bytes without(const Bytes& bytes, std::size_t first, std::size_t count) {
  const auto at = [&](std::size_t call) {
    return bytes.begin() +
           static_cast<std::ptrdiff_t>(std::min(1 + call * kBytesOfCall, bytes.size()));
  };
  Bytes rest(bytes.begin(), at(first));
  rest.insert(rest.end(), at(first + count), bytes.end());
  return rest;
}

}  // namespace

Bytes shrunk(Bytes bytes, const std::function<bool(const Bytes&)>& fails) {
  for (std::size_t count = std::max<std::size_t>(callsIn(bytes) / 2, 1); count > 0;) {
    bool shorter = false;
    // From the end: what comes behind the failure goes first.
    for (std::size_t end = callsIn(bytes); end > 0; end -= std::min(end, count)) {
      const std::size_t first = end - std::min(end, count);
      Bytes candidate = without(bytes, first, count);
      if (!fails(candidate)) continue;
      bytes = std::move(candidate);
      shorter = true;
    }
    if (count > 1) {
      count /= 2;
    } else if (!shorter) {
      break;
    }
  }
  return bytes;
}

}  // namespace fuzz
