#include "python/reference_table.hpp"

#include <algorithm>

namespace zembra::python {

std::string_view Form::name(std::size_t index) const {
  std::string_view rest = names;
  for (; index > 0; --index) rest.remove_prefix(rest.find(' ') + 1);
  return rest.substr(0, rest.find(' '));
}

std::span<const Form> formsOf(std::string_view function) {
  const auto isBefore = [](const Form& form, std::string_view name) {
    return form.function < name;
  };
  const std::span<const Form> forms = allForms();
  const auto first = std::lower_bound(forms.begin(), forms.end(), function, isBefore);
  const auto end =
      std::find_if(first, forms.end(), [&](const Form& form) { return form.function != function; });
  return {first, end};
}

}  // namespace zembra::python
