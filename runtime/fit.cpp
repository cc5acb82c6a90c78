#include "runtime/fit.hpp"

#include <algorithm>

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

void requireClass(bool fits, const DatatypePlan& plan, const zbArray* data,
                  const DataPlace& place) {
  if (!fits) place.refuseClass(data, plan.describe(), neededFor(plan));
}

void requireTexts(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                  const DataPlace& place) {
  if (data->type == zbClass::Char) {
    if (count != 1 || !isVector(data)) place.requireCount(columnsOf(data), count, "texts");
    return;
  }
  requireClass(data->type == zbClass::Cell, plan, data, place);
  place.requireCount(data->elements, count, "items");
  for (std::size_t i = 0; i < count; ++i) {
    const zbArray* item = place.requireItem(data, i);
    if (item->type != zbClass::Char || !isVector(item)) {
      DataPlace(place, i).refuseClass(item, plan.describe(), "a char row");
    }
  }
}

void requireFields(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                   const DataPlace& place) {
  requireClass(data->type == zbClass::Struct && data->elements == 1, plan, data, place);
  std::vector<std::string_view> names;
  for (const DatatypePlan::Member& member : plan.members) names.emplace_back(member.name);
  const std::vector<const zbArray*> fields = matchFields(data, names, place);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    requireFit(plan.members[i].plan, count, fields[i], DataPlace(place, names[i]));
  }
}

}  // namespace

void requireFit(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                const DataPlace& place) {
  place.requirePlain(data);
  if (count == 0 && data->elements == 0) return;
  switch (plan.kind) {
    case Kind::Number:
      requireClass(isOfClass(data, plan.hostClass), plan, data, place);
      return place.requireCount(data->elements, count, "elements");
    case Kind::Code:
      requireClass(zbIsNumeric(data) || data->type == zbClass::Logical, plan, data, place);
      return place.requireCount(data->elements, count, "elements");
    case Kind::Bytes:
      requireClass(data->type == zbClass::UInt8, plan, data, place);
      return place.requireCount(data->elements, checkedProduct(count, plan.size), "bytes");
    case Kind::FixedText:
    case Kind::VariableText: return requireTexts(plan, count, data, place);
    case Kind::Compound: return requireFields(plan, count, data, place);
    case Kind::Sequence:
      requireClass(data->type == zbClass::Cell, plan, data, place);
      return place.requireCount(data->elements, count, "items");
    case Kind::Array:
      return requireFit(*plan.base, checkedProduct(count, plan.repeat), data, place);
  }
}

std::size_t lengthOf(const DatatypePlan& plan, const zbArray* data) {
  if (data->elements == 0) return 0;
  const auto roundedUp = [](std::size_t count, std::size_t unit) {
    return count / unit + (count % unit != 0 ? 1 : 0);
  };
  switch (plan.kind) {
    case Kind::Bytes: return roundedUp(data->elements, plan.size);
    case Kind::FixedText:
    case Kind::VariableText: {
      if (data->type != zbClass::Char) return data->elements;
      const bool row = data->shape()[0] == 1 && isVector(data);
      const bool single = plan.kind == Kind::FixedText && plan.size == 1;
      return row && !single ? 1 : columnsOf(data);
    }
    case Kind::Compound: {
      if (data->type != zbClass::Struct || plan.members.empty()) return data->elements;
      const DatatypePlan::Member& member = plan.members.front();
      const zbArray* field = zbGetField(data, 0, member.name.c_str());
      return field == nullptr ? 1 : lengthOf(member.plan, field);
    }
    case Kind::Array: return roundedUp(lengthOf(*plan.base, data), plan.repeat);
    default: return data->elements;
  }
}

bool isOfClass(const zbArray* data, zbClass type) {
  return data->type == type || (data->type == zbClass::Logical && type == zbClass::UInt8);
}

std::size_t columnsOf(const zbArray* text) {
  std::size_t columns = 1;
  for (std::size_t i = 1; i < text->rank; ++i) columns *= text->shape()[i];
  return columns;
}

bool isVector(const zbArray* text) {
  return text->elements == 0 || std::any_of(text->shape(), text->shape() + text->rank,
                                            [&](std::size_t n) { return n == text->elements; });
}

std::string_view textOf(const zbArray* text, std::size_t first, std::size_t length) {
  if (length == 0) return {};
  const std::string_view whole(static_cast<const char*>(text->data) + first, length);
  return whole.substr(0, whole.find_last_not_of('\0') + 1);
}

}  // namespace zembra
