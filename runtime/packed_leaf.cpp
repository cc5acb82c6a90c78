#include "runtime/packed_leaf.hpp"

#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>

#include "host/library_error.hpp"
#include "host/numeric_class.hpp"
#include "runtime/array_class.hpp"
#include "runtime/char_array.hpp"
#include "runtime/datatype_fit.hpp"
#include "runtime/host_error.hpp"
#include "runtime/memory_block.hpp"
#include "runtime/number_fit.hpp"

namespace zembra {
namespace {

using Kind = DatatypePlan::Kind;

/// The array's own data.
PackedLeaf asItStands(const zbArray* data) {
  return {static_cast<const std::byte*>(data->data), {}};
}

PackedLeaf owning(const std::shared_ptr<void>& block) {
  return {static_cast<const std::byte*>(block.get()), block};
}

template <class To, class From>
void castCodes(const DatatypePlan& plan, const zbArray* data, std::byte* to,
               const ValuePath& path) {
  const auto* from = static_cast<const From*>(data->data);
  auto* codes = reinterpret_cast<To*>(to);
  for (std::size_t i = 0; i < data->elements; ++i) {
    if (!holds<To>(from[i])) {
      raiseHostError("valueOutOfRange",
                     path.name() + " has the value " + std::to_string(from[i]) + " at element " +
                         std::to_string(i) + " (counted from 0), which the " +
                         className(plan.hostClass) + " codes of the datatype " + plan.describe() +
                         " do not include.",
                     {std::to_string(from[i]), static_cast<std::int64_t>(i)});
    }
    codes[i] = static_cast<To>(from[i]);  // NOLINT(bugprone-signed-char-misuse): an integer
  }
}

/// The numbers as integers of the plan's class: none may change its value.
void castCodes(const DatatypePlan& plan, const zbArray* data, std::byte* to,
               const ValuePath& path) {
  const auto never = [] {};  // codes, and what fits them, are of numeric classes
  const auto castTo = [&](auto code) {
    if constexpr (std::is_integral_v<decltype(code)>) {
      const auto castFrom = [&](auto number) {
        castCodes<decltype(code), decltype(number)>(plan, data, to, path);
      };
      Zembra::withNumericType(data->type, castFrom, never);
    }
  };
  Zembra::withNumericType(plan.hostClass, castTo, never);
}

PackedLeaf packNumbers(const DatatypePlan& plan, const zbArray* data, const ValuePath& path) {
  const std::size_t count = data->elements;
  const bool ofClass = isOfClass(data, plan.hostClass);
  if (ofClass && !plan.needsConversion()) return asItStands(data);

  std::shared_ptr<void> block = allocateBlock(checkedProduct(count, plan.widest()));
  if (ofClass) {
    std::memcpy(block.get(), data->data, count * elementSize(plan.hostClass));
  } else {
    castCodes(plan, data, static_cast<std::byte*>(block.get()), path);
  }
  if (plan.needsConversion()) {
    Zembra::checked(
        H5Tconvert(plan.hostType, plan.bufferType.get(), count, block.get(), nullptr, H5P_DEFAULT));
  }
  return owning(block);
}

PackedLeaf packTexts(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                     const ValuePath& path) {
  if (data->type == zbClass::Char && plan.padding == '\0' && data->shape()[0] == plan.size &&
      columnsOf(data) == count) {
    return asItStands(data);
  }
  const std::size_t bytes = checkedProduct(count, plan.size);
  const std::shared_ptr<void> block = allocateBlock(bytes);
  auto* to = static_cast<char*>(block.get());
  std::memset(to, plan.padding, bytes);
  forEachText(data, count, path, [&](std::string_view text, const ValuePath& where) {
    if (text.size() > plan.size) {
      raiseHostError(
          "textTooLong",
          where.name() + " is a text of " + std::to_string(text.size()) +
              " bytes, too long for the datatype " + plan.describe() + ".",
          {static_cast<std::int64_t>(text.size()), static_cast<std::int64_t>(plan.size)});
    }
    std::copy(text.begin(), text.end(), to);
    to += plan.size;
  });
  return owning(block);
}

}  // namespace

PackedLeaf packLeaf(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                    const ValuePath& path) {
  if (count == 0) return {};
  switch (plan.kind) {
    case Kind::FixedText: return packTexts(plan, count, data, path);
    case Kind::Bytes: return asItStands(data);
    default: return packNumbers(plan, data, path);
  }
}

}  // namespace zembra
