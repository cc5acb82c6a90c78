#include "runtime/datatype_fit.hpp"

#include <string_view>

#include "runtime/array_class.hpp"
#include "runtime/char_array.hpp"
#include "runtime/member_fields.hpp"
#include "runtime/memory_block.hpp"
#include "runtime/packed_texts.hpp"
#include "runtime/sequences.hpp"

namespace zembra {
namespace {

using Kind = DatatypePlan::Kind;

std::string neededFor(const DatatypePlan& plan) {
  switch (plan.kind) {
    case Kind::Number: return className(plan.hostClass);
    case Kind::Code: return "a numeric or logical class";
    case Kind::Bytes: return "uint8";
    case Kind::FixedText:
    case Kind::VariableText: return "char or a cell of char rows";
    case Kind::Compound: return "a 1-by-1 struct";
    default: return "a cell with an item for each element";
  }
}

void requireClass(bool fits, const DatatypePlan& plan, const zbArray* data, const ValuePath& path) {
  if (!fits) path.refuseClass(data, plan.describe(), neededFor(plan));
}

void requireTexts(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                  const ValuePath& path) {
  if (data->type == zbClass::Char) {
    const std::size_t texts = isOneText(data) ? 1 : columnsOf(data);
    if (count != 1 || !isVector(data)) path.requireCount(texts, count, "texts");
    return;
  }
  requireClass(data->type == zbClass::Cell, plan, data, path);
  path.requireCount(data->elements, count, "items");
  if (packedTexts(data) != nullptr) return;
  for (std::size_t i = 0; i < count; ++i) {
    const zbArray* item = path.requireItem(data, i);
    if (plan.kind == Kind::VariableText && isNullText(item)) continue;
    if (item->type != zbClass::Char || !isVector(item)) {
      ValuePath(path, i).refuseClass(item, plan.describe(), "a char row");
    }
  }
}

void requireFields(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                   const ValuePath& path) {
  requireClass(data->type == zbClass::Struct && data->elements == 1, plan, data, path);
  std::vector<std::string_view> names;
  for (const DatatypePlan::Member& member : plan.members) names.emplace_back(member.name);
  const std::vector<const zbArray*> fields = matchFields(data, names, path);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    requireFit(plan.members[i].plan, count, fields[i], ValuePath(path, names[i]));
  }
}

std::size_t dividedUp(std::size_t count, std::size_t unit) {
  return count / unit + (count % unit != 0 ? 1 : 0);
}

/// A row is one text, unless texts are of one character each: then it is a text a column.
std::size_t textsIn(const DatatypePlan& plan, const zbArray* data) {
  if (data->type != zbClass::Char) return data->elements;
  const bool row = data->shape()[0] == 1 && isVector(data);
  const bool single = plan.kind == Kind::FixedText && plan.size == 1;
  return isOneText(data) || (row && !single) ? 1 : columnsOf(data);
}

/// The first member's field speaks for the others, which requireFit() holds to it.
std::size_t recordsIn(const DatatypePlan& plan, const zbArray* data) {
  if (data->type != zbClass::Struct || plan.members.empty()) return data->elements;
  const DatatypePlan::Member& member = plan.members.front();
  const zbArray* field = zbGetField(data, 0, member.name.c_str());
  return field == nullptr ? 1 : lengthOf(member.plan, field);
}

}  // namespace

void requireFit(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                const ValuePath& path) {
  path.requirePlain(data);
  if (count == 0 && data->elements == 0) return;
  switch (plan.kind) {
    case Kind::Number:
      requireClass(isOfClass(data, plan.hostClass), plan, data, path);
      return path.requireCount(data->elements, count, "elements");
    case Kind::Code:
      requireClass(zbIsNumeric(data) || data->type == zbClass::Logical, plan, data, path);
      return path.requireCount(data->elements, count, "elements");
    case Kind::Bytes:
      requireClass(data->type == zbClass::UInt8, plan, data, path);
      return path.requireCount(data->elements, checkedProduct(count, plan.size), "bytes");
    case Kind::FixedText:
    case Kind::VariableText: return requireTexts(plan, count, data, path);
    case Kind::Compound: return requireFields(plan, count, data, path);
    case Kind::Sequence:
      requireClass(holdsSequences(data, count), plan, data, path);
      return path.requireCount(sequencesIn(data), count, "items");
    case Kind::Array: return requireFit(*plan.base, checkedProduct(count, plan.repeat), data, path);
  }
}

std::size_t lengthOf(const DatatypePlan& plan, const zbArray* data) {
  if (data->elements == 0) return 0;
  switch (plan.kind) {
    case Kind::Bytes: return dividedUp(data->elements, plan.size);
    case Kind::FixedText:
    case Kind::VariableText: return textsIn(plan, data);
    case Kind::Compound: return recordsIn(plan, data);
    case Kind::Sequence: return sequencesIn(data);
    case Kind::Array: return dividedUp(lengthOf(*plan.base, data), plan.repeat);
    default: return data->elements;
  }
}

bool isOfClass(const zbArray* data, zbClass type) {
  return data->type == type || (data->type == zbClass::Logical && type == zbClass::UInt8);
}

}  // namespace zembra
