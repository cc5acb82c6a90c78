#include "hdf5/library_shields.hpp"

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "hdf5/closing.hpp"
#include "hdf5/error_stack.hpp"
#include "hdf5/observed_failures.hpp"

namespace hdf5 {
namespace {

thread_local unsigned callbacks = 0;

/// Addresses of this thread's stack, which grows down; none where it cannot be told.
struct Stack {
  std::uintptr_t end;
  std::uintptr_t reserve;  // up to where it is nearly used up
};

Stack measureStack() {
  // What a callback needs that calls no other: files are created in it, modules loaded.
  constexpr std::size_t kReserve = 128 << 10;
  constexpr Stack kUnknown = {1, 1};
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return kUnknown;
  void* end = nullptr;
  std::size_t size = 0;
  const bool known = pthread_attr_getstack(&attributes, &end, &size) == 0;
  pthread_attr_destroy(&attributes);
  if (!known) return kUnknown;
  const auto lowest = reinterpret_cast<std::uintptr_t>(end);
  return {lowest, lowest + std::min(kReserve, size / 4)};
}

thread_local Stack stack = {0, 0};

}  // namespace

InsideCallback::InsideCallback() { ++callbacks; }
InsideCallback::~InsideCallback() { --callbacks; }

bool isStackShort() {
  if (stack.end == 0) stack = measureStack();
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  // A stack that is not the thread's own, a coroutine's, is nobody's to measure.
  return here >= stack.end && here < stack.reserve;
}

herr_t closeLibrary() {
  if (callbacks > 0) return refuse("H5close", "the library is in use: a callback is running");
  return closeEverything(!someGroupIsHalfMade());
}

}  // namespace hdf5
