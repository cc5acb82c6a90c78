#include "tests/faults/known_weaknesses.hpp"

#include <algorithm>

namespace faults {
namespace {

constexpr Weakness kWeaknesses[] = {
    // Without memory
    {"allocation", "ended with status 255",
     "where a call cannot have a context, H5CX_push ends the process"},
    {"allocation", "killed by SIGSEGV in H5", "a null pointer is followed where memory should be"},
    {"allocation", "killed by SIGSEGV in libhdf5",
     "a null pointer is followed where memory should be"},
    {"allocation", "killed by SIGABRT in H5",
     "memory is freed twice on the way back from a failure"},
    {"allocation", "killed by SIGABRT in libhdf5",
     "memory is freed twice on the way back from a failure"},
    {"allocation", "killed by SIGABRT in _ZN6zembra13allocateBlock",
     "the heap is damaged by then: malloc says so to whoever asks next"},
    {"allocation", "killed by SIGABRT in _ZN6zembra8newArray",
     "the heap is damaged by then: malloc says so to whoever asks next"},
    {"allocation", "killed by SIGABRT in ?",
     "the heap is damaged by then: malloc says so to whoever asks next"},
    {"allocation", "killed by SIGBUS in H5", "what was never set up is freed"},
    {"allocation", "killed by SIGSEGV in ?", "a function is called that is a null pointer"},
    {"allocation", "at the end of the process",
     "what a failure left half made is met when the library closes"},
    {"allocation", "identifiers: ", "what was made before the failure is not given up"},
    {"allocation", "can't find property in skip list",
     "a list whose copy failed has lost properties, for every later call"},
    {"allocation", "already closed?", "a close that fails gives the identifier up all the same"},
    {"allocation", "not a dataset ID", "a close that fails gives the identifier up all the same"},
    {"allocation", "can't decrement ref. count",
     "a close that fails gives the identifier up all the same"},
    {"allocation", "can't remove object from container",
     "a close that fails gives the identifier up all the same"},
    // Files
    {"read", "not a dataset ID", "a close that fails gives the identifier up all the same"},
    {"write", "not a dataset ID",
     "a dataset that cannot be written when it is closed is closed all the same"},
    {"write", "killed by SIGSEGV in H5Fflush",
     "what H5Fclose writes behind the flush fails, and the identifier stays on freed memory"},
    {"write", "killed by SIGSEGV in H5F__close_cb", "the same where H5close closes the file"},
    {"write", "killed by SIGSEGV in H5T_close_real",
     "H5Ocopy frees a datatype that it never had where the first write fails"},
};

}  // namespace

std::span<const Weakness> knownWeaknesses() { return kWeaknesses; }

const Weakness* knownWeakness(std::string_view operation, std::string_view words) {
  const auto* found = std::ranges::find_if(kWeaknesses, [&](const Weakness& one) {
    return one.operation == operation && words.find(one.words) != std::string_view::npos;
  });
  return found == std::end(kWeaknesses) ? nullptr : found;
}

}  // namespace faults
