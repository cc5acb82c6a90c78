#include "runtime/pending_cause.hpp"

#include <utility>

namespace zembra {
namespace {

thread_local std::exception_ptr pendingCause;

}  // namespace

void setPendingCause(std::exception_ptr cause) { pendingCause = std::move(cause); }
std::exception_ptr takePendingCause() { return std::exchange(pendingCause, nullptr); }

}  // namespace zembra
