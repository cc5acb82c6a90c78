#include "runtime/columns.hpp"

#include <algorithm>

#include "runtime/memory_block.hpp"
#include "runtime/shaped.hpp"

namespace zembra {

using Kind = DatatypePlan::Kind;

bool Columns::suit(const DatatypePlan& plan) {
  if (plan.variableLength || plan.needsConversion()) return false;
  if (plan.kind == Kind::Array) return suit(*plan.base);
  return std::ranges::all_of(plan.members, [](const auto& member) { return suit(member.plan); });
}

Columns::Columns(const DatatypePlan& plan, const Shape& extent)
    : plan_(plan), structure_(make(plan, extent, 1)) {}

Value Columns::make(const DatatypePlan& plan, const Shape& extent, std::size_t repeat) {
  if (plan.kind == Kind::Array) {
    return make(*plan.base, within(plan.dimensions, extent), checkedProduct(repeat, plan.repeat));
  }
  if (plan.kind == Kind::Compound) {
    std::vector<std::pair<std::string, Value>> fields;
    fields.reserve(plan.members.size());
    for (const DatatypePlan::Member& member : plan.members) {
      fields.emplace_back(member.name, make(member.plan, extent, repeat));
    }
    return makeStruct(std::move(fields));
  }
  const Shape shape = plan.wide() ? within({plan.size}, extent) : extent;
  Value array = withNaturalRank(makeUninitialised(plan.hostClass, shape), shape);
  columns_.push_back({&plan, array.get(), checkedProduct(repeat, plan.size)});
  return array;
}

void Columns::put(const Strided<const std::byte>& elements, std::size_t first) {
  auto column = columns_.begin();
  put(plan_, elements, first, column);
}

void Columns::put(const DatatypePlan& plan, const Strided<const std::byte>& from, std::size_t first,
                  std::vector<Column>::iterator& column) {
  if (plan.kind == Kind::Array) {
    return put(*plan.base, from.split(plan.repeat, plan.base->size), first, column);
  }
  if (plan.kind == Kind::Compound) {
    for (const DatatypePlan::Member& member : plan.members) {
      put(member.plan, from.at(member.offset), first, column);
    }
    return;
  }
  auto* const data = static_cast<std::byte*>(column->array->data);
  if (from.count() > 0) pack(from, plan.size, data + first * column->bytes);
  ++column;
}

Value Columns::take() {
  for (const Column& column : columns_) endTexts(*column.plan, column.array);
  return std::move(structure_);
}

}  // namespace zembra
