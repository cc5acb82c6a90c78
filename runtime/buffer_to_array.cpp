#include "runtime/buffer_to_array.hpp"

#include <algorithm>
#include <cstring>

#include "host/library_error.hpp"
#include "runtime/columns.hpp"
#include "runtime/memory_block.hpp"
#include "runtime/packed_texts.hpp"
#include "runtime/shaped.hpp"

namespace zembra {
namespace {

using Kind = DatatypePlan::Kind;
using Source = Strided<const std::byte>;

std::size_t elementsOf(const Shape& extent) {
  std::size_t count = 1;
  for (const std::size_t dimension : extent) count = checkedProduct(count, dimension);
  return count;
}

Value withEndedTexts(const DatatypePlan& plan, Value array) {
  endTexts(plan, array.get());
  return array;
}

/// Elements packed in a block of `widest()` bytes each.
Value adoptLeaf(const DatatypePlan& plan, std::shared_ptr<void> block, Shape extent) {
  if (plan.needsConversion()) {
    Zembra::checked(H5Tconvert(plan.bufferType.get(), plan.hostType, elementsOf(extent),
                               block.get(), nullptr, H5P_DEFAULT));
  }
  if (plan.wide()) extent.insert(extent.begin(), plan.size);
  void* data = block.get();
  Value array = makeOnBlock(plan.hostClass, extent, data, std::move(block));
  return withEndedTexts(plan, withNaturalRank(std::move(array), extent));
}

Value gatherLeaf(const DatatypePlan& plan, const Source& from, Shape extent) {
  if (!plan.needsConversion() && from.packed(plan.size)) {
    if (plan.wide()) extent.insert(extent.begin(), plan.size);
    Value array = makeNumeric(plan.hostClass, extent, from.first());
    return withEndedTexts(plan, withNaturalRank(std::move(array), extent));
  }
  std::shared_ptr<void> block = allocateBlock(checkedProduct(from.count(), plan.widest()));
  pack(from, plan.size, static_cast<std::byte*>(block.get()));
  return adoptLeaf(plan, std::move(block), std::move(extent));
}

/// A cell with one item for each element, made of the C value that lies there.
template <class Element, class MakeItem>
Value gatherCell(const Source& from, const Shape& extent, MakeItem makeItem) {
  std::vector<Value> items;
  items.reserve(from.count());
  from.forEach([&](const std::byte* at) {
    Element element{};
    std::memcpy(&element, at, sizeof element);  // packed compounds do not align
    items.push_back(makeItem(element));
  });
  return withNaturalRank(makeCell(extent, std::move(items)), extent);
}

/// The pointers and what they lead to.
struct TextMemory {
  std::shared_ptr<void> pointers;
  std::shared_ptr<Arena> texts;
};

/// A cell on `count` pointers in a block; null texts are empty ones.
Value cellOn(std::shared_ptr<void> block, std::size_t count, std::shared_ptr<Arena> texts,
             const Shape& extent) {
  auto* const pointers = static_cast<const char**>(block.get());
  std::replace_if(
      pointers, pointers + count, [](const char* text) { return text == nullptr; }, "");
  const auto memory =
      std::make_shared<const TextMemory>(TextMemory{std::move(block), std::move(texts)});
  return withNaturalRank(makeTexts(extent, PackedTexts(memory, pointers)), extent);
}

/// Copies of the texts, whose own memory is HDF5's.
std::shared_ptr<Arena> copyTexts(const char** pointers, std::size_t count) {
  auto arena = std::make_shared<Arena>();
  for (std::size_t i = 0; i < count; ++i) {
    if (pointers[i] == nullptr) continue;
    const std::size_t size = std::strlen(pointers[i]) + 1;
    pointers[i] = static_cast<const char*>(std::memcpy(arena->take(size), pointers[i], size));
  }
  return arena;
}

Value gatherTexts(const Source& from, const Shape& extent, std::shared_ptr<Arena> texts) {
  const std::size_t count = from.count();
  std::shared_ptr<void> block = allocateBlock(checkedProduct(count, sizeof(char*)));
  pack(from, sizeof(char*), static_cast<std::byte*>(block.get()));
  if (!texts) texts = copyTexts(static_cast<const char**>(block.get()), count);
  return cellOn(std::move(block), count, std::move(texts), extent);
}

Value gatherCompound(const DatatypePlan& plan, const Source& from, const Shape& extent,
                     const std::shared_ptr<Arena>& memory) {
  if (Columns::suit(plan)) {
    Columns columns(plan, extent);
    columns.put(from, 0);
    return columns.take();
  }
  std::vector<std::pair<std::string, Value>> fields;
  fields.reserve(plan.members.size());
  for (const DatatypePlan::Member& member : plan.members) {
    fields.emplace_back(member.name, gather(member.plan, from.at(member.offset), extent, memory));
  }
  return makeStruct(std::move(fields));
}

}  // namespace

Value gather(const DatatypePlan& plan, const Source& from, Shape extent,
             const std::shared_ptr<Arena>& memory) {
  switch (plan.kind) {
    case Kind::Compound: return gatherCompound(plan, from, extent, memory);
    case Kind::Array:
      return gather(*plan.base, from.split(plan.repeat, plan.base->size),
                    within(plan.dimensions, std::move(extent)), memory);
    case Kind::VariableText: return gatherTexts(from, extent, memory);
    case Kind::Sequence:
      return gatherCell<hvl_t>(from, extent, [&](const hvl_t& items) {
        const Source source(static_cast<const std::byte*>(items.p), items.len, plan.base->size);
        return gather(*plan.base, source, {items.len}, memory);
      });
    default: return gatherLeaf(plan, from, std::move(extent));
  }
}

bool canAdopt(const DatatypePlan& plan, const std::shared_ptr<Arena>& memory) {
  if (plan.kind == Kind::Array) return canAdopt(*plan.base, memory);
  return plan.leaf() || (plan.kind == Kind::VariableText && memory);
}

Value adopt(const DatatypePlan& plan, std::shared_ptr<void> block, Shape extent,
            const std::shared_ptr<Arena>& memory) {
  if (plan.kind == Kind::Array) {
    return adopt(*plan.base, std::move(block), within(plan.dimensions, std::move(extent)), memory);
  }
  if (plan.kind == Kind::VariableText) {
    return cellOn(std::move(block), elementsOf(extent), memory, extent);
  }
  return adoptLeaf(plan, std::move(block), std::move(extent));
}

}  // namespace zembra
