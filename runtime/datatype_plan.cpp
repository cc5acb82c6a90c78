#include "runtime/datatype_plan.hpp"

#include <algorithm>

#include "runtime/datatype.hpp"
#include "runtime/host_error.hpp"

namespace zembra {
namespace {

using Kind = DatatypePlan::Kind;

void planNumber(DatatypePlan& plan, hid_t type, hid_t native) {
  plan.native = native;
  if (succeeded(H5Tequal(type, native)) == 0) plan.foreign = copyDatatype(type);
}

DatatypePlan planLevel(hid_t type, int depth) {
  requireShallow(depth);
  DatatypePlan plan;
  plan.typeClass = datatypeClass(type);
  plan.size = datatypeSize(type);
  switch (plan.typeClass) {
    case H5T_INTEGER:
    case H5T_FLOAT:
      plan.kind = Kind::Number;
      plan.hostClass = numberClass(type, plan.typeClass, plan.size);
      planNumber(plan, type, nativeNumber(plan.hostClass));
      break;
    case H5T_BITFIELD:
      plan.kind = Kind::Code;
      plan.hostClass = numberClass(type, plan.typeClass, plan.size);
      planNumber(plan, type, nativeBitField(plan.hostClass));
      break;
    case H5T_ENUM: {
      const hdf5::Type base = baseDatatype(type);
      plan.kind = Kind::Code;
      plan.hostClass = numberClass(base.get());
      planNumber(plan, base.get(), nativeNumber(plan.hostClass));
      break;
    }
    case H5T_STRING:
      if (isVariableText(type)) {
        plan.kind = Kind::VariableText;
        plan.variableLength = true;
      } else {
        plan.kind = Kind::FixedText;
        plan.hostClass = zbClass::Char;
        plan.padding = succeeded(H5Tget_strpad(type)) == H5T_STR_SPACEPAD ? ' ' : '\0';
      }
      break;
    case H5T_REFERENCE: requireReference(type); [[fallthrough]];
    case H5T_OPAQUE:
      plan.kind = Kind::Bytes;
      plan.hostClass = zbClass::UInt8;
      break;
    case H5T_COMPOUND:
      plan.kind = Kind::Compound;
      for (unsigned i = 0; i < memberCount(type); ++i) {
        plan.members.push_back({memberName(type, i), H5Tget_member_offset(type, i),
                                planLevel(memberDatatype(type, i).get(), depth + 1)});
        plan.variableLength |= plan.members.back().plan.variableLength;
      }
      break;
    case H5T_VLEN:
      plan.kind = Kind::Sequence;
      plan.variableLength = true;
      plan.base = std::make_unique<DatatypePlan>(planLevel(baseDatatype(type).get(), depth + 1));
      break;
    case H5T_ARRAY:
      plan.kind = Kind::Array;
      plan.base = std::make_unique<DatatypePlan>(planLevel(baseDatatype(type).get(), depth + 1));
      plan.variableLength = plan.base->variableLength;
      for (const hsize_t dimension : arrayDimensions(type)) {
        plan.dimensions.insert(plan.dimensions.begin(), static_cast<std::size_t>(dimension));
        plan.repeat = checkedProduct(plan.repeat, static_cast<std::size_t>(dimension));
      }
      break;
    default: refuseDatatype(type);
  }
  return plan;
}

}  // namespace

std::size_t DatatypePlan::widest() const {
  if (kind == Kind::Array) return checkedProduct(repeat, base->widest());
  return foreign.valid() ? std::max(size, elementSize(hostClass)) : size;
}

std::string DatatypePlan::describe() const {
  return describeDatatype(typeClass, size, kind == Kind::VariableText);
}

DatatypePlan planDatatype(hid_t memoryType) { return planLevel(memoryType, 1); }

std::size_t checkedProduct(std::size_t a, std::size_t b) {
  std::size_t product = 0;
  if (__builtin_mul_overflow(a, b, &product)) {
    raiseHostError("tooLarge", "A buffer of " + std::to_string(a) + " times " + std::to_string(b) +
                                   " bytes does not fit in memory.");
  }
  return product;
}

}  // namespace zembra
