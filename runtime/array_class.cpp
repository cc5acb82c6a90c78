#include "runtime/array_class.hpp"

#include "host/numeric_class.hpp"

namespace zembra {
namespace {

/// In the order of zbClass.
constexpr const char* kClassNames[] = {"unknown",         "cell",   "struct", "logical", "char",
                                       "double",          "single", "int8",   "uint8",   "int16",
                                       "uint16",          "int32",  "uint32", "int64",   "uint64",
                                       "function_handle", "object", "foreign"};

}  // namespace

const char* className(zbClass type) { return kClassNames[static_cast<std::size_t>(type)]; }

std::size_t elementSize(zbClass type) {
  return Zembra::withNumericType(
      type, [](auto number) { return sizeof number; },
      [&] { return type == zbClass::Char ? std::size_t{1} : std::size_t{0}; });
}

}  // namespace zembra
