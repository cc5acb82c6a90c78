// Warnings, received by a test instead of being printed.
#pragma once

#include <vector>

#include "runtime/host_error.hpp"
#include "tests/unit/raised_keys.hpp"

namespace h5test {

/// Collects warnings; the next test has the host's own handler again.
class Warnings {
 public:
  Warnings() {
    zembra::setWarningHandler([this](const zembra::Warning& warning) {
      noteRaised(warning.identifier.substr(warning.identifier.rfind(':') + 1));
      list.push_back(warning);
    });
  }
  ~Warnings() { zembra::setWarningHandler({}); }
  Warnings(const Warnings&) = delete;
  Warnings& operator=(const Warnings&) = delete;

  std::vector<zembra::Warning> list;
};

}  // namespace h5test
