#include "chunks/thread_count.hpp"

#include <sched.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace chunks {
namespace {

/// More would only wait for the one thread that talks to HDF5.
constexpr unsigned kMost = 64;

/// 0 where nothing that counts is asked for.
unsigned askedFor() {
  // Who changes the environment waits for the library's lock, as callers do.
  const char* text = std::getenv("H5GATE_THREADS");
  if (text == nullptr) return 0;
  const char* end = text + std::strlen(text);
  unsigned count = 0;
  const auto [stop, error] = std::from_chars(text, end, count);
  if (error == std::errc::result_out_of_range) return kMost;
  return error == std::errc() && stop == end ? count : 0;
}

unsigned usableCores() {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  if (sched_getaffinity(0, sizeof(cores), &cores) == 0) {
    return static_cast<unsigned>(CPU_COUNT(&cores));
  }
  return std::max(1U, std::thread::hardware_concurrency());
}

}  // namespace

ThreadCount threadCount() {
  const unsigned asked = askedFor();
  return {std::min(asked > 0 ? asked : usableCores(), kMost), asked == 1};
}

}  // namespace chunks
