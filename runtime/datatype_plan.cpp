#include "runtime/datatype_plan.hpp"

#include <algorithm>

#include "host/library_error.hpp"
#include "runtime/array_class.hpp"
#include "runtime/datatype.hpp"
#include "runtime/memory_block.hpp"

namespace zembra {
namespace {

using Kind = DatatypePlan::Kind;
using Zembra::checked;

DatatypePlan planLevel(hid_t type, int depth);

void setTypes(DatatypePlan& plan, hid_t bufferType, hid_t hostType) {
  plan.hostType = hostType;
  if (checked(H5Tequal(bufferType, hostType)) == 0) plan.bufferType = copyDatatype(bufferType);
}

void planNumber(DatatypePlan& plan, hid_t type) {
  plan.kind = Kind::Number;
  plan.hostClass = numberClass(type, plan.typeClass, plan.size);
  setTypes(plan, type, nativeNumber(plan.hostClass));
}

void planBitField(DatatypePlan& plan, hid_t type) {
  plan.kind = Kind::Code;
  plan.hostClass = numberClass(type, plan.typeClass, plan.size);
  setTypes(plan, type, nativeBitField(plan.hostClass));
}

void planEnumeration(DatatypePlan& plan, hid_t type) {
  const hdf5::Type base = baseDatatype(type);
  plan.kind = Kind::Code;
  plan.hostClass = numberClass(base.get());
  setTypes(plan, base.get(), nativeNumber(plan.hostClass));
}

void planText(DatatypePlan& plan, hid_t type) {
  if (isVariableText(type)) {
    plan.kind = Kind::VariableText;
    plan.variableLength = true;
  } else {
    plan.kind = Kind::FixedText;
    plan.hostClass = zbClass::Char;
    const H5T_str_t padding = checked(H5Tget_strpad(type));
    plan.padding = padding == H5T_STR_SPACEPAD ? ' ' : '\0';
    plan.terminated = padding == H5T_STR_NULLTERM;
  }
}

void planBytes(DatatypePlan& plan) {
  plan.kind = Kind::Bytes;
  plan.hostClass = zbClass::UInt8;
}

void planCompound(DatatypePlan& plan, hid_t type, int depth) {
  plan.kind = Kind::Compound;
  for (unsigned i = 0; i < memberCount(type); ++i) {
    plan.members.push_back({memberName(type, i), H5Tget_member_offset(type, i),
                            planLevel(memberDatatype(type, i).get(), depth + 1)});
    plan.variableLength |= plan.members.back().plan.variableLength;
  }
}

std::unique_ptr<DatatypePlan> planBase(hid_t type, int depth) {
  return std::make_unique<DatatypePlan>(planLevel(baseDatatype(type).get(), depth + 1));
}

void planSequence(DatatypePlan& plan, hid_t type, int depth) {
  plan.kind = Kind::Sequence;
  plan.variableLength = true;
  plan.base = planBase(type, depth);
}

void planArray(DatatypePlan& plan, hid_t type, int depth) {
  plan.kind = Kind::Array;
  plan.base = planBase(type, depth);
  plan.variableLength = plan.base->variableLength;
  const std::vector<hsize_t> dimensions = arrayDimensions(type);
  plan.dimensions.assign(dimensions.rbegin(), dimensions.rend());
  for (const std::size_t dimension : plan.dimensions) {
    plan.repeat = checkedProduct(plan.repeat, dimension);
  }
}

DatatypePlan planLevel(hid_t type, int depth) {
  requireShallow(depth);
  DatatypePlan plan;
  plan.typeClass = datatypeClass(type);
  plan.size = datatypeSize(type);
  switch (plan.typeClass) {
    case H5T_INTEGER:
    case H5T_FLOAT: planNumber(plan, type); break;
    case H5T_BITFIELD: planBitField(plan, type); break;
    case H5T_ENUM: planEnumeration(plan, type); break;
    case H5T_STRING: planText(plan, type); break;
    case H5T_REFERENCE: requireReference(type); [[fallthrough]];
    case H5T_OPAQUE: planBytes(plan); break;
    case H5T_COMPOUND: planCompound(plan, type, depth); break;
    case H5T_VLEN: planSequence(plan, type, depth); break;
    case H5T_ARRAY: planArray(plan, type, depth); break;
    default: refuseDatatype(type);
  }
  return plan;
}

}  // namespace

std::size_t DatatypePlan::widest() const {
  if (kind == Kind::Array) return checkedProduct(repeat, base->widest());
  return needsConversion() ? std::max(size, elementSize(hostClass)) : size;
}

bool DatatypePlan::hasGaps() const {
  if (kind == Kind::Array) return base->hasGaps();
  if (kind != Kind::Compound) return false;
  std::size_t filled = 0;
  for (const Member& member : members) {
    if (member.plan.hasGaps()) return true;
    filled += member.plan.size;
  }
  return filled < size;
}

std::string DatatypePlan::describe() const {
  return describeDatatype(typeClass, size, kind == Kind::VariableText);
}

DatatypePlan planDatatype(hid_t memoryType) { return planLevel(memoryType, 1); }

}  // namespace zembra
