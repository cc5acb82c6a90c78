#include "runtime/scatter.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "runtime/datatype.hpp"
#include "runtime/fit.hpp"
#include "runtime/host_error.hpp"

namespace zembra {
namespace {

using Kind = DatatypePlan::Kind;

/// What stands for "no elements": HDF5 takes no null pointer.
constexpr std::byte kNothing[1] = {};

/// Elements next to each other, and what keeps them alive beyond the array.
struct Packed {
  const std::byte* first = nullptr;
  std::shared_ptr<void> owner;
};

Packed asItStands(const zbArray* data) { return {static_cast<const std::byte*>(data->data), {}}; }

Packed owning(const std::shared_ptr<void>& block) {
  return {static_cast<const std::byte*>(block.get()), block};
}

// --- Numbers as codes -----------------------------------------------------------

template <class To, class From>
bool holds(From value) {
  if constexpr (std::is_floating_point_v<From>) {
    const double limit = std::ldexp(1.0, std::numeric_limits<To>::digits);
    const double lowest = std::is_signed_v<To> ? -limit : 0.0;
    const auto wide = static_cast<double>(value);
    return wide >= lowest && wide < limit && wide == std::trunc(wide);
  } else {
    return std::in_range<To>(value);
  }
}

template <class To, class From>
void castCodes(const DatatypePlan& plan, const zbArray* data, std::byte* to,
               const DataPlace& place) {
  const auto* from = static_cast<const From*>(data->data);
  auto* codes = reinterpret_cast<To*>(to);
  for (std::size_t i = 0; i < data->elements; ++i) {
    if (!holds<To>(from[i])) {
      raiseHostError("valueOutOfRange",
                     place.name() + " has the value " + std::to_string(from[i]) + " at element " +
                         std::to_string(i) + " (counted from 0), which the " +
                         className(plan.hostClass) + " codes of the datatype " + plan.describe() +
                         " do not include.",
                     {std::to_string(from[i]), static_cast<std::int64_t>(i)});
    }
    codes[i] = static_cast<To>(from[i]);  // NOLINT(bugprone-signed-char-misuse): an integer
  }
}

// The branches below differ in type. NOLINTBEGIN(bugprone-branch-clone)
template <class Use>
void withIntegerClass(zbClass type, Use use) {
  switch (type) {
    case zbClass::Int8: return use(std::int8_t());
    case zbClass::Int16: return use(std::int16_t());
    case zbClass::Int32: return use(std::int32_t());
    case zbClass::Int64: return use(std::int64_t());
    case zbClass::UInt16: return use(std::uint16_t());
    case zbClass::UInt32: return use(std::uint32_t());
    case zbClass::UInt64: return use(std::uint64_t());
    default: return use(std::uint8_t());  // logical too
  }
}

template <class Use>
void withNumericClass(zbClass type, Use use) {
  switch (type) {
    case zbClass::Double: return use(double());
    case zbClass::Single: return use(float());
    default: return withIntegerClass(type, use);
  }
}
// NOLINTEND(bugprone-branch-clone)

/// The numbers as integers of the plan's class: none may change its value.
void castCodes(const DatatypePlan& plan, const zbArray* data, std::byte* to,
               const DataPlace& place) {
  withIntegerClass(plan.hostClass, [&](auto code) {
    withNumericClass(data->type, [&](auto number) {
      castCodes<decltype(code), decltype(number)>(plan, data, to, place);
    });
  });
}

// --- Leaves ---------------------------------------------------------------------

Packed packNumbers(const DatatypePlan& plan, const zbArray* data, const DataPlace& place) {
  const std::size_t count = data->elements;
  const bool ofClass = isOfClass(data, plan.hostClass);
  if (ofClass && !plan.foreign.valid()) return asItStands(data);

  std::shared_ptr<void> block = allocateBlock(checkedProduct(count, plan.widest()));
  if (ofClass) {
    std::memcpy(block.get(), data->data, count * elementSize(plan.hostClass));
  } else {
    castCodes(plan, data, static_cast<std::byte*>(block.get()), place);
  }
  if (plan.foreign.valid()) {
    succeeded(
        H5Tconvert(plan.native, plan.foreign.get(), count, block.get(), nullptr, H5P_DEFAULT));
  }
  return owning(block);
}

Packed packTexts(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                 const DataPlace& place) {
  if (data->type == zbClass::Char && plan.padding == '\0' && data->shape()[0] == plan.size &&
      columnsOf(data) == count) {
    return asItStands(data);
  }
  const std::size_t bytes = checkedProduct(count, plan.size);
  const std::shared_ptr<void> block = allocateBlock(bytes);
  auto* to = static_cast<char*>(block.get());
  std::memset(to, plan.padding, bytes);
  forEachText(data, count, place, [&](std::string_view text, const DataPlace& where) {
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

Packed packLeaf(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                const DataPlace& place) {
  if (count == 0) return {kNothing, nullptr};
  switch (plan.kind) {
    case Kind::FixedText: return packTexts(plan, count, data, place);
    case Kind::Bytes: return asItStands(data);
    default: return packNumbers(plan, data, place);
  }
}

}  // namespace

const std::byte* Scatter::layOut(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                                 const DataPlace& place) {
  requireFit(plan, count, data, place);
  return layOutFitting(plan, count, data, place);
}

const std::byte* Scatter::layOutFitting(const DatatypePlan& plan, std::size_t count,
                                        const zbArray* data, const DataPlace& place) {
  if (count == 0) return kNothing;
  if (plan.kind == Kind::Array) {
    return layOutFitting(*plan.base, checkedProduct(count, plan.repeat), data, place);
  }
  if (plan.leaf()) {
    Packed packed = packLeaf(plan, count, data, place);
    if (packed.owner) owned_.push_back(std::move(packed.owner));
    return packed.first;
  }
  const std::size_t bytes = checkedProduct(count, plan.size);
  std::byte* buffer = take(bytes);
  std::memset(buffer, 0, bytes);  // what lies between members reaches the file
  scatter(plan, Strided<std::byte>(buffer, count, plan.size), data, place);
  return buffer;
}

void Scatter::scatter(const DatatypePlan& plan, const Strided<std::byte>& to, const zbArray* data,
                      const DataPlace& place) {
  switch (plan.kind) {
    case Kind::Compound:
      for (const DatatypePlan::Member& member : plan.members) {
        scatter(member.plan, to.at(member.offset), zbGetField(data, 0, member.name.c_str()),
                DataPlace(place, member.name));
      }
      return;
    case Kind::Sequence: return scatterSequences(plan, to, data, place);
    case Kind::VariableText: return scatterTexts(plan, to, data, place);
    case Kind::Array:
      return scatter(*plan.base, to.split(plan.repeat, plan.base->size), data, place);
    default: unpack(packLeaf(plan, to.count(), data, place).first, plan.size, to);
  }
}

void Scatter::scatterTexts(const DatatypePlan& plan, const Strided<std::byte>& to,
                           const zbArray* data, const DataPlace& place) {
  std::vector<const char*> texts;
  texts.reserve(to.count());
  forEachText(data, to.count(), place, [&](std::string_view text, const DataPlace& where) {
    if (text.find('\0') != std::string_view::npos) {
      raiseHostError("embeddedNull", where.name() +
                                         " has a NUL character inside, which ends the text in the "
                                         "datatype " +
                                         plan.describe() + ".");
    }
    std::byte* copy = take(text.size() + 1);
    std::copy(text.begin(), text.end(), reinterpret_cast<char*>(copy));
    copy[text.size()] = std::byte{0};
    texts.push_back(reinterpret_cast<const char*>(copy));
  });
  unpack(reinterpret_cast<const std::byte*>(texts.data()), sizeof(char*), to);
}

void Scatter::scatterSequences(const DatatypePlan& plan, const Strided<std::byte>& to,
                               const zbArray* data, const DataPlace& place) {
  std::size_t index = 0;
  to.forEach([&](std::byte* at) {
    const zbArray* item = place.requireItem(data, index);
    hvl_t sequence{lengthOf(*plan.base, item), nullptr};
    const std::byte* elements = layOut(*plan.base, sequence.len, item, DataPlace(place, index++));
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): HDF5 only reads it
    if (sequence.len > 0) sequence.p = const_cast<std::byte*>(elements);
    std::memcpy(at, &sequence, sizeof sequence);
  });
}

std::byte* Scatter::take(std::size_t bytes) {
  constexpr std::size_t kChunk = std::size_t{64} << 10;
  constexpr std::size_t kAlignment = alignof(std::max_align_t);
  bytes = std::max<std::size_t>(bytes, 1);
  if (bytes > freeBytes_) {
    const std::size_t chunk = std::max(bytes, kChunk);
    owned_.push_back(allocateBlock(chunk));
    auto* memory = static_cast<std::byte*>(owned_.back().get());
    if (chunk > kChunk) return memory;  // the rest of the chunk at hand stays of use
    free_ = memory;
    freeBytes_ = chunk;
  }
  const std::size_t taken = std::min(freeBytes_, (bytes + kAlignment - 1) & ~(kAlignment - 1));
  freeBytes_ -= taken;
  return std::exchange(free_, free_ + taken);
}

}  // namespace zembra
