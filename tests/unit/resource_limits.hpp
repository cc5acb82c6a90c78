// Less of something than the process may have, for as long as an object lives.
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace h5test {

class ResourceLimit {
 public:
  ResourceLimit(decltype(RLIMIT_FSIZE) resource, rlim_t most) : resource_(resource) {
    getrlimit(resource_, &before_);
    const rlimit limit = {most, before_.rlim_max};
    setrlimit(resource_, &limit);
  }
  ~ResourceLimit() { setrlimit(resource_, &before_); }
  ResourceLimit(const ResourceLimit&) = delete;
  ResourceLimit& operator=(const ResourceLimit&) = delete;

 private:
  decltype(RLIMIT_FSIZE) resource_;
  rlimit before_{};
};

/// No file grows beyond a megabyte, and writing more is an error, not a signal.
class SmallFiles {
 public:
  SmallFiles() : handler_(std::signal(SIGXFSZ, SIG_IGN)) {}
  ~SmallFiles() { std::signal(SIGXFSZ, handler_); }
  SmallFiles(const SmallFiles&) = delete;
  SmallFiles& operator=(const SmallFiles&) = delete;

 private:
  void (*handler_)(int);
  ResourceLimit limit_{RLIMIT_FSIZE, 1 << 20};
};

/// Few files can be open.
struct FewFiles {
  ResourceLimit limit{RLIMIT_NOFILE, 64};
};

}  // namespace h5test
