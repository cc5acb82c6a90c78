// The arrays that an extension creates during one call, in a list that is linked through
// the arrays themselves. What nobody has taken over when the call ends is reclaimed; a
// call within a call has a scope within the scope.
#pragma once

#include "runtime/array.hpp"

namespace zembra {

class CallScope {
 public:
  CallScope();
  ~CallScope();
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

  /// Makes the caller an owner of a result: an array that the innermost call created
  /// leaves its scope; anything else that comes back as a result gains a reference.
  static Value take(zbArray* result);

 private:
  friend void enroll(zbArray* array);
  friend void dismiss(zbArray* array);

  CallScope* outer_;
  zbArray* first_ = nullptr;
};

/// Hands a reference to the innermost scope; without one it stays the creator's.
void enroll(zbArray* array);
/// Whether the array is in the scope of a call around the innermost one.
bool isOfOuterCall(const zbArray* array);
/// Takes an array out of its scope, if it is in one: the reference is the caller's again.
void dismiss(zbArray* array);

}  // namespace zembra
