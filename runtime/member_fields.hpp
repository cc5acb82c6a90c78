// Which field of a structure goes into which member of a compound.
#pragma once

#include <string_view>
#include <vector>

#include "runtime/array.hpp"
#include "runtime/value_path.hpp"

namespace zembra {

/// The fields of a 1-by-1 structure in the order of a compound's members. Raises a
/// host error for a member without a field, and for a field without a member, whose
/// data would be lost. `path` leads to the structure.
std::vector<const zbArray*> matchFields(const zbArray* structure,
                                        const std::vector<std::string_view>& members,
                                        const ValuePath& path);

}  // namespace zembra
