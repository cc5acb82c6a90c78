#include "python/named_datatype.hpp"

#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "host/numeric_class.hpp"
#include "runtime/array_class.hpp"
#include "runtime/call.hpp"
#include "runtime/gateway_loader.hpp"
#include "runtime/host_error.hpp"
#include "runtime/memory_block.hpp"
#include "runtime/number_fit.hpp"

namespace zembra::python {
namespace {

/// What a query says of the named datatype.
double ask(const char* query, const zbArray* typeName) {
  const Value name = makeText(query);
  const std::array<const zbArray*, 2> inputs{name.get(), typeName};
  return zbGetScalar(callExtension(loadGateway(), 1, inputs).at(0).get());
}

/// The class of host arrays that the datatype calls for; Unknown for no numbers.
zbClass classOf(const zbArray* typeName) {
  constexpr double kInteger = 0;
  constexpr double kFloat = 1;
  const double kind = ask("H5Tget_class", typeName);
  if (kind != kInteger && kind != kFloat) return zbClass::Unknown;
  const double size = ask("H5Tget_size", typeName);
  if (kind == kFloat) return size <= sizeof(float) ? zbClass::Single : zbClass::Double;
  return Zembra::integerClass(static_cast<std::size_t>(size), ask("H5Tget_sign", typeName) != 0);
}

bool isConvertible(const zbArray* numbers) {
  return !numbers->complex && !numbers->sparse && numbers->elements > 0 &&
         (zbIsNumeric(numbers) || numbers->type == zbClass::Logical);
}

}  // namespace

Value inClassOf(const zbArray* typeName, const zbArray* numbers) {
  const std::string_view name(static_cast<const char*>(typeName->data), typeName->elements);
  if (typeName->type != zbClass::Char || !name.starts_with("H5T_") || !isConvertible(numbers)) {
    return {};
  }
  zbClass type = zbClass::Unknown;
  try {
    type = classOf(typeName);
  } catch (const HostError&) {
    return {};  // no such datatype, which the call itself will say
  }
  if (type == zbClass::Unknown || type == numbers->type || !allHold(numbers, type)) return {};
  Value converted = makeUninitialised(type, std::span(numbers->shape(), numbers->rank));
  castNumbers(numbers, type, converted.get()->data);
  converted.get()->naturalRank = numbers->naturalRank;
  return converted;
}

}  // namespace zembra::python
