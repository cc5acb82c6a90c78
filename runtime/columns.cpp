#include "runtime/columns.hpp"

#include <algorithm>

#include "runtime/shaped.hpp"

namespace zembra {

using Kind = DatatypePlan::Kind;

bool Columns::suit(const DatatypePlan& plan) {
  if (plan.variableLength || plan.needsConversion()) return false;
  if (plan.kind == Kind::Array) return suit(*plan.base);
  return std::ranges::all_of(plan.members, [](const auto& member) { return suit(member.plan); });
}

Columns::Columns(const DatatypePlan& plan, const Shape& extent)
    : structure_(make(plan, extent, LanePlace())) {}

Value Columns::make(const DatatypePlan& plan, const Shape& extent, const LanePlace& place) {
  if (plan.kind == Kind::Array) {
    return make(*plan.base, within(plan.dimensions, extent),
                place.split(plan.repeat, plan.base->size));
  }
  if (plan.kind == Kind::Compound) {
    std::vector<std::pair<std::string, Value>> fields;
    fields.reserve(plan.members.size());
    for (const DatatypePlan::Member& member : plan.members) {
      fields.emplace_back(member.name, make(member.plan, extent, place.at(member.offset)));
    }
    return makeStruct(std::move(fields));
  }
  const Shape shape = plan.wide() ? within({plan.size}, extent) : extent;
  Value array = withNaturalRank(makeUninitialised(plan.hostClass, shape), shape);
  lanes_.emplace_back(place.ofPieces(plan.size), static_cast<std::byte*>(array.get()->data));
  arrays_.emplace_back(&plan, array.get());
  return array;
}

Value Columns::take() {
  for (const auto& [plan, array] : arrays_) endTexts(*plan, array);
  return std::move(structure_);
}

}  // namespace zembra
