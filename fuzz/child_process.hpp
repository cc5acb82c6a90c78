// Calls that may end the process, in another one.
#pragma once

#include <functional>
#include <string>

namespace fuzz {

struct End {
  int status = 0;  // as wait() gives it
  [[nodiscard]] bool isGood() const { return status == 0; }
  /// "killed by SIGSEGV"
  [[nodiscard]] std::string inWords() const;
};

/// Runs the action in a child, which then ends in the ordinary way; after so many seconds of the
/// processor's time it is killed. It stays in the folder and within bounds of memory and file
/// sizes. What it prints goes to the file `output`.
End inChild(const std::string& folder, unsigned seconds, const std::string& output,
            const std::function<void()>& action);

}  // namespace fuzz
