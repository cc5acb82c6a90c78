// What the last host function threw, until an error is raised because of it.
#pragma once

#include <exception>

namespace zembra {

/// A failed host call sets it, a successful one clears it, raising takes it: the
/// wrapper that re-raises under a key of its own need not know about it.
void setPendingCause(std::exception_ptr cause);
std::exception_ptr takePendingCause();

}  // namespace zembra
