#include "python/reference_table.hpp"

#include <algorithm>

namespace zembra::python {

std::string_view Form::name(std::size_t index) const {
  std::string_view rest = names;
  for (; index > 0; --index) rest.remove_prefix(rest.find(' ') + 1);
  return rest.substr(0, rest.find(' '));
}

std::span<const Form> formsOf(std::string_view function) {
  const auto found = std::ranges::equal_range(allForms(), function, {}, &Form::function);
  return {found.begin(), found.end()};
}

}  // namespace zembra::python
