#include "runtime/call_scope.hpp"

#include "runtime/pending_cause.hpp"

namespace zembra {
namespace {

thread_local CallScope* innermost = nullptr;

}  // namespace

CallScope::CallScope() : outer_(std::exchange(innermost, this)) {
  // A failure that an earlier call has survived is not the cause of an error in this one.
  setPendingCause(nullptr);
}

CallScope::~CallScope() {
  innermost = outer_;
  while (first_ != nullptr) {
    zbArray* array = first_;
    dismiss(array);
    drop(array);
  }
}

Value CallScope::take(zbArray* result) {
  if (result == nullptr) return {};
  // Arguments and the arrays of a call around this one keep their owner.
  if (result->scope == nullptr || result->scope != innermost) return share(result);
  dismiss(result);
  return Value(result);
}

void enroll(zbArray* array) {
  CallScope* scope = innermost;
  array->scope = scope;
  if (scope == nullptr) return;
  array->previous = nullptr;
  array->next = scope->first_;
  if (scope->first_ != nullptr) scope->first_->previous = array;
  scope->first_ = array;
}

bool isOfOuterCall(const zbArray* array) {
  return array->scope != nullptr && array->scope != innermost;
}

void dismiss(zbArray* array) {
  CallScope* scope = std::exchange(array->scope, nullptr);
  if (scope == nullptr) return;
  if (array->previous != nullptr) {
    array->previous->next = array->next;
  } else {
    scope->first_ = array->next;
  }
  if (array->next != nullptr) array->next->previous = array->previous;
  array->previous = nullptr;
  array->next = nullptr;
}

}  // namespace zembra
