// What the reference says of a function's arguments and results, as a table that the
// build makes of it: a letter each.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace zembra::python {

/// One of a kind or several: a value's shape tells.
enum class Kind : char {
  Identifier = 'i',
  NewIdentifier = 'o',  // for the caller to close
  MemoryType = 'm',     // of the data behind it
  Whole = 'n',          // counts, sizes, indices, flags, enumerators
  YesOrNo = 'b',
  Real = 'r',
  Text = 't',
  Data = 'd',
  Code = 'k',  // data, an int of which is an int64
  Callback = 'c',
  Object = 'u',  // user data
  Record = 's',
};

/// One argument list of a function, and what it gives.
struct Form {
  std::string_view function;
  std::size_t fewest;  // arguments; the last ones may be left out
  std::string_view arguments;
  std::string_view results;
  std::string_view names;  // of the arguments, with blanks between

  [[nodiscard]] bool takes(std::size_t count) const {
    return count >= fewest && count <= arguments.size();
  }
  /// Of the argument with this index.
  [[nodiscard]] std::string_view name(std::size_t index) const;
};

/// Ordered by name.
std::span<const Form> allForms();
/// The fields of records that are no whole numbers, ordered.
std::span<const std::string_view> realFields();

/// None for a name that the reference does not have.
std::span<const Form> formsOf(std::string_view function);

/// The form with so many arguments, or null.
inline const Form* formFor(std::span<const Form> forms, std::size_t count) {
  for (const Form& form : forms) {
    if (form.takes(count)) return &form;
  }
  return nullptr;
}

inline Kind kindIn(std::string_view kinds, std::size_t index) {
  return index < kinds.size() ? static_cast<Kind>(kinds[index]) : Kind::Text;
}

}  // namespace zembra::python
