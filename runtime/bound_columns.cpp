#include "runtime/bound_columns.hpp"

#include <utility>

#include "runtime/memory_block.hpp"
#include "runtime/packed_leaf.hpp"

namespace zembra {

using Kind = DatatypePlan::Kind;

BoundColumns::BoundColumns(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                           const ValuePath& path) {
  if (count > 0) bind(plan, count, data, path, LanePlace());
}

void BoundColumns::bind(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                        const ValuePath& path, const LanePlace& place) {
  if (plan.kind == Kind::Array) {
    return bind(*plan.base, checkedProduct(count, plan.repeat), data, path,
                place.split(plan.repeat, plan.base->size));
  }
  if (plan.kind != Kind::Compound) {
    PackedLeaf leaf = packLeaf(plan, count, data, path);
    lanes_.emplace_back(place.ofPieces(plan.size), leaf.first);
    if (leaf.owner) owners_.push_back(std::move(leaf.owner));
    return;
  }
  for (const DatatypePlan::Member& member : plan.members) {
    bind(member.plan, count, zbGetField(data, 0, member.name.c_str()), ValuePath(path, member.name),
         place.at(member.offset));
  }
}

}  // namespace zembra
