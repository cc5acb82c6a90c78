// What a failed call has to say beside its text.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "python/python.hpp"

namespace zembra::python {

/// Adds notes to the pending exception, where it is about the call: what was called, the
/// argument that was refused (counted from 1, 0 where none was), what would have been right.
void addNotes(std::string_view function, std::span<PyObject* const> arguments,
              std::size_t refused) noexcept;

}  // namespace zembra::python
