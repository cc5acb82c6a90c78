#include "runtime/member_fields.hpp"

#include <algorithm>

#include "runtime/host_error.hpp"

namespace zembra {

std::vector<const zbArray*> matchFields(const zbArray* structure,
                                        const std::vector<std::string_view>& members,
                                        const ValuePath& path) {
  const std::vector<std::string>& names = structure->composite->names;
  const std::vector<zbArray*>& values = structure->composite->values;
  std::vector<const zbArray*> fields;
  for (const std::string_view member : members) {
    const auto found = std::find(names.begin(), names.end(), member);
    const zbArray* field =
        found == names.end() ? nullptr : values[static_cast<std::size_t>(found - names.begin())];
    if (field == nullptr) {
      raiseHostError("missingMember",
                     path.name() + " has no field for the member '" + std::string(member) +
                         "' of the compound datatype.",
                     {std::string(member)});
    }
    fields.push_back(field);
  }
  for (const std::string& name : names) {
    if (std::find(members.begin(), members.end(), name) == members.end()) {
      raiseHostError(
          "unknownMember",
          path.name() + " has a field '" + name + "' that the compound datatype has no member for.",
          {name});
    }
  }
  return fields;
}

}  // namespace zembra
