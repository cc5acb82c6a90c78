#include "runtime/value_path.hpp"

#include "runtime/host_error.hpp"

namespace zembra {
namespace {

Parameter number(std::size_t value) { return static_cast<std::int64_t>(value); }

}  // namespace

std::string ValuePath::words() const {
  if (parent_ == nullptr) return "the array";
  const std::string self = field_.data() != nullptr
                               ? "field '" + std::string(field_) + "'"
                               : "item " + std::to_string(item_) + " (counted from 0)";
  return self + " of " + parent_->words();
}

std::string ValuePath::name() const {
  std::string text = words();
  text.front() = static_cast<char>(text.front() - 'a' + 'A');
  return text;
}

void ValuePath::refuseClass(const zbArray* value, const std::string& datatype,
                            const std::string& needed) const {
  raiseHostError("classMismatch",
                 name() + " is " + describe(value) + " but the datatype " + datatype + " needs " +
                     needed + ".",
                 {zbGetClassName(value), datatype});
}

void ValuePath::requireCount(std::size_t count, std::size_t needed, std::string_view unit) const {
  if (count == needed) return;
  std::string text = name() + " has " + std::to_string(count) + " ";
  text.append(unit).append(" where ").append(std::to_string(needed)).append(" are needed.");
  raiseHostError("sizeMismatch", text.append(advice_), {number(count), number(needed)});
}

void ValuePath::requirePlain(const zbArray* value) const {
  if (value->complex) {
    raiseHostError("complexData", name() +
                                      " is complex, which HDF5 has no datatype for: write "
                                      "its real and imaginary parts on their own.");
  }
  if (value->sparse) {
    raiseHostError("sparseData", name() + " is sparse; make it full to write it.");
  }
}

const zbArray* ValuePath::requireItem(const zbArray* cell, std::size_t index) const {
  const zbArray* item = zbGetCell(cell, index);
  if (item == nullptr) {
    raiseHostError("missingItem", ValuePath(*this, index).name() + " is not set.", {number(index)});
  }
  return item;
}

}  // namespace zembra
