#include "fuzz/child_process.hpp"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace fuzz {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

void limit(__rlimit_resource_t what, rlim_t most, rlim_t atLast) {
  const struct rlimit limits = {most, atLast};
  setrlimit(what, &limits);
}
void limit(__rlimit_resource_t what, rlim_t most) { limit(what, most, most); }

/// Of the processor's time, which a busy machine does not take away. What waits for something
/// for ever takes none.
void endAfter(unsigned seconds) {
  limit(RLIMIT_CPU, seconds, seconds + 1);  // SIGXCPU, which says why; SIGKILL, if ignored
  alarm(10 * seconds);
}

void stayWithinBounds() {
  // The sanitizers take all addresses for themselves, and have a bound of their own.
  if (!kSanitized) limit(RLIMIT_AS, rlim_t{2} << 30);
  limit(RLIMIT_CORE, 0);
  // What asks for a lot of room meets a disk that is full.
  limit(RLIMIT_FSIZE, rlim_t{16} << 20);
  std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace

std::string End::inWords() const {
  if (WIFSIGNALED(status)) {
    const char* name = sigabbrev_np(WTERMSIG(status));
    return std::string("killed by SIG") + (name == nullptr ? "?" : name);
  }
  return "ended with status " + std::to_string(WEXITSTATUS(status));
}

End inChild(const std::string& folder, unsigned seconds, const std::string& output,
            const std::function<void()>& action) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
  if (child == 0) {
    if (chdir(folder.c_str()) != 0) _exit(3);
    const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    dup2(file, STDOUT_FILENO);
    dup2(file, STDERR_FILENO);
    stayWithinBounds();
    endAfter(seconds);
    // What is thrown ends the child, and does not go on in it as its parent.
    [&action]() noexcept { action(); }();
    std::exit(0);
  }
  End end;
  waitpid(child, &end.status, 0);
  return end;
}

}  // namespace fuzz
