#include "runtime/data_place.hpp"

#include <algorithm>

#include "runtime/host_error.hpp"

namespace zembra {
namespace {

Parameter number(std::size_t value) { return static_cast<std::int64_t>(value); }

}  // namespace

std::string DataPlace::path() const {
  if (parent_ == nullptr) return "the array";
  const std::string self = field_.data() != nullptr
                               ? "field '" + std::string(field_) + "'"
                               : "item " + std::to_string(item_) + " (counted from 0)";
  return self + " of " + parent_->path();
}

std::string DataPlace::name() const {
  std::string text = path();
  text.front() = static_cast<char>(text.front() - 'a' + 'A');
  return text;
}

void DataPlace::refuseClass(const zbArray* data, const std::string& datatype,
                            const std::string& needed) const {
  raiseHostError("classMismatch",
                 name() + " is " + zembra::describe(data) + " but the datatype " + datatype +
                     " needs " + needed + ".",
                 {zbGetClassName(data), datatype});
}

void DataPlace::requireCount(std::size_t count, std::size_t needed, std::string_view unit) const {
  if (count == needed) return;
  std::string text = name() + " has " + std::to_string(count) + " ";
  text.append(unit).append(" where ").append(std::to_string(needed)).append(" are needed.");
  raiseHostError("sizeMismatch", text.append(advice_), {number(count), number(needed)});
}

void DataPlace::requirePlain(const zbArray* data) const {
  if (data->complex) {
    raiseHostError("complexData", name() +
                                      " is complex, which HDF5 has no datatype for: write "
                                      "its real and imaginary parts on their own.");
  }
  if (data->sparse) {
    raiseHostError("sparseData", name() + " is sparse; make it full to write it.");
  }
}

const zbArray* DataPlace::requireItem(const zbArray* cell, std::size_t index) const {
  const zbArray* item = zbGetCell(cell, index);
  if (item == nullptr) {
    raiseHostError("missingItem", DataPlace(*this, index).name() + " is not set.", {number(index)});
  }
  return item;
}

std::vector<const zbArray*> matchFields(const zbArray* structure,
                                        const std::vector<std::string_view>& members,
                                        const DataPlace& place) {
  const std::vector<std::string>& names = structure->composite->names;
  const std::vector<zbArray*>& values = structure->composite->values;
  std::vector<const zbArray*> fields;
  for (const std::string_view member : members) {
    const auto found = std::find(names.begin(), names.end(), member);
    const zbArray* field =
        found == names.end() ? nullptr : values[static_cast<std::size_t>(found - names.begin())];
    if (field == nullptr) {
      raiseHostError("missingMember",
                     place.name() + " has no field for the member '" + std::string(member) +
                         "' of the compound datatype.",
                     {std::string(member)});
    }
    fields.push_back(field);
  }
  for (const std::string& name : names) {
    if (std::find(members.begin(), members.end(), name) == members.end()) {
      raiseHostError("unknownMember",
                     place.name() + " has a field '" + name +
                         "' that the compound datatype has no member for.",
                     {name});
    }
  }
  return fields;
}

}  // namespace zembra
