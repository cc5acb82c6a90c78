#include "tests/unit/bare_hdf5.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "hdf5/compat.hpp"

namespace h5test {
namespace {

constexpr unsigned kSeconds = 2;  // of computing

[[noreturn]] void runIn(const std::function<void()>& action) {
  const rlimit noCore = {0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  const rlimit seconds = {kSeconds, kSeconds};
  setrlimit(RLIMIT_CPU, &seconds);
  // What the C library says of a smashed stack is of no interest here.
  dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
  action();
  // As at the end of a process, but without the tests' own ends.
  H5close();
  _exit(EXIT_SUCCESS);
}

}  // namespace

bool kills(const std::function<void()>& action) {
  const pid_t child = fork();
  if (child < 0) {
    ADD_FAILURE() << "no child process could be made";
    return false;
  }
  if (child == 0) runIn(action);
  int status = 0;
  waitpid(child, &status, 0);
  return status != 0;
}

void tryAlone(const std::function<void()>& test) {
  EXPECT_FALSE(kills([&test] {
    test();
    _exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
  }));
}

}  // namespace h5test
