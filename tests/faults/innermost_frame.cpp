#include "tests/faults/innermost_frame.hpp"

#include <dlfcn.h>
#include <execinfo.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "tests/faults/fault_shim.hpp"

namespace faults {
namespace {

char* where = nullptr;
std::size_t length = 0;

bool isOurs(const char* library) {
  return std::strstr(library, "libhdf5") != nullptr ||
         std::strstr(library, "libh5gate") != nullptr ||
         std::strstr(library, "libzembra") != nullptr;
}

/// Nothing here is safe in a handler; all of it beats not knowing.
void tell(int signal) {
  std::array<void*, 64> frames{};
  faultDisarm();
  const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
  for (int i = 0; i < count; ++i) {
    Dl_info info{};
    if (dladdr(frames[static_cast<std::size_t>(i)], &info) == 0 || !isOurs(info.dli_fname))
      continue;
    const char* const slash = std::strrchr(info.dli_fname, '/');
    const char* const file = slash == nullptr ? info.dli_fname : slash + 1;
    std::snprintf(where, length, "%s", info.dli_sname != nullptr ? info.dli_sname : file);
    break;
  }
  backtrace_symbols_fd(frames.data(), count, STDERR_FILENO);  // for who tries one fault alone
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

void tellInnermostFrame(char* name, std::size_t size) {
  where = name;
  length = size;
  std::array<void*, 1> once{};
  backtrace(once.data(), 1);  // loads what it needs
  static std::array<char, 1 << 16> stack;
  const stack_t other = {stack.data(), 0, stack.size()};
  sigaltstack(&other, nullptr);
  for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL, SIGXCPU, SIGALRM}) {
    struct sigaction action {};
    action.sa_handler = tell;
    action.sa_flags = SA_ONSTACK | static_cast<int>(SA_RESETHAND) | SA_NODEFER;
    sigaction(signal, &action, nullptr);
  }
}

}  // namespace faults
