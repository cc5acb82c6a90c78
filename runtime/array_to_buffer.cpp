#include "runtime/array_to_buffer.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "runtime/bound_columns.hpp"
#include "runtime/char_array.hpp"
#include "runtime/datatype_fit.hpp"
#include "runtime/host_error.hpp"
#include "runtime/memory_block.hpp"
#include "runtime/packed_leaf.hpp"
#include "runtime/packed_texts.hpp"
#include "runtime/sequences.hpp"

namespace zembra {
namespace {

using Kind = DatatypePlan::Kind;

/// What stands for "no elements": HDF5 takes no null pointer.
constexpr std::byte kNothing[1] = {};

/// Texts that lie as HDF5 takes them already; null otherwise.
const std::byte* textsOf(const DatatypePlan& plan, const zbArray* data) {
  if (plan.kind != Kind::VariableText) return nullptr;
  return reinterpret_cast<const std::byte*>(packedTexts(data));
}

}  // namespace

const std::byte* Buffers::layOut(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                                 const ValuePath& path) {
  requireFit(plan, count, data, path);
  return layOutFitting(plan, count, data, path);
}

const std::byte* Buffers::layOutFitting(const DatatypePlan& plan, std::size_t count,
                                        const zbArray* data, const ValuePath& path) {
  if (count == 0) return kNothing;
  if (plan.kind == Kind::Array) {
    return layOutFitting(*plan.base, checkedProduct(count, plan.repeat), data, path);
  }
  if (plan.leaf()) {
    PackedLeaf packed = packLeaf(plan, count, data, path);
    if (packed.owner) arena_.keep(std::move(packed.owner));
    return packed.first;
  }
  if (const std::byte* texts = textsOf(plan, data)) return texts;
  const std::size_t bytes = checkedProduct(count, plan.size);
  std::byte* buffer = arena_.take(bytes);
  if (plan.hasGaps()) std::memset(buffer, 0, bytes);  // what lies there reaches the file
  scatter(plan, Strided<std::byte>(buffer, count, plan.size), data, path);
  return buffer;
}

void Buffers::scatter(const DatatypePlan& plan, const Strided<std::byte>& to, const zbArray* data,
                      const ValuePath& path) {
  switch (plan.kind) {
    case Kind::Compound:
      if (!plan.variableLength) return BoundColumns(plan, to.count(), data, path).lay(to, 0);
      for (const DatatypePlan::Member& member : plan.members) {
        scatter(member.plan, to.at(member.offset), zbGetField(data, 0, member.name.c_str()),
                ValuePath(path, member.name));
      }
      return;
    case Kind::Sequence: return scatterSequences(plan, to, data, path);
    case Kind::VariableText: return scatterTexts(plan, to, data, path);
    case Kind::Array:
      return scatter(*plan.base, to.split(plan.repeat, plan.base->size), data, path);
    default: unpack(packLeaf(plan, to.count(), data, path).first, plan.size, to);
  }
}

void Buffers::scatterTexts(const DatatypePlan& plan, const Strided<std::byte>& to,
                           const zbArray* data, const ValuePath& path) {
  if (const std::byte* packed = textsOf(plan, data)) return unpack(packed, plan.size, to);
  std::vector<const char*> texts;
  texts.reserve(to.count());
  forEachText(data, to.count(), path, [&](std::string_view text, const ValuePath& where) {
    if (text.data() == nullptr) return texts.push_back(nullptr);
    if (text.find('\0') != std::string_view::npos) {
      raiseHostError("embeddedNull", where.name() +
                                         " has a NUL character inside, which ends the text in the "
                                         "datatype " +
                                         plan.describe() + ".");
    }
    std::byte* copy = arena_.take(text.size() + 1);
    std::copy(text.begin(), text.end(), reinterpret_cast<char*>(copy));
    copy[text.size()] = std::byte{0};
    texts.push_back(reinterpret_cast<const char*>(copy));
  });
  unpack(reinterpret_cast<const std::byte*>(texts.data()), sizeof(char*), to);
}

void Buffers::scatterSequences(const DatatypePlan& plan, const Strided<std::byte>& to,
                               const zbArray* data, const ValuePath& path) {
  std::size_t index = 0;
  to.forEach([&](std::byte* at) {
    const Value item = sequenceIn(data, index, to.count(), path);
    hvl_t sequence{lengthOf(*plan.base, item.get()), nullptr};
    const std::byte* elements =
        layOut(*plan.base, sequence.len, item.get(), ValuePath(path, index++));
    if (sequence.len > 0) sequence.p = const_cast<std::byte*>(elements);  // HDF5 only reads it
    std::memcpy(at, &sequence, sizeof sequence);
  });
}

}  // namespace zembra
