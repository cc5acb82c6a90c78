// Results that a call stored and nobody asked for.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "python/reference_table.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// Closes the identifiers among them that the caller would have had to close: nobody else
/// ever could. They are the last of the results; where the caller has no form, the
/// function's name and its count of arguments tell which that is.
void closeDropped(std::string_view function, const Form* form, std::size_t arguments,
                  std::size_t asked, std::span<zbArray* const> dropped);

}  // namespace zembra::python
