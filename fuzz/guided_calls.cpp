// The same sequences of calls with bytes that coverage guides (clang's libFuzzer):
//
//   guided_calls -max_len=4096 -artifact_prefix=$PWD/ [CORPUS]
//
// What it finds, `fuzz_calls --replay FILE` and `--shrink FILE` take.
#include <cstdint>
#include <filesystem>

#include "fuzz/call_sequence.hpp"
#include "fuzz/temporary_folder.hpp"
#include "fuzz/vocabulary.hpp"
#include "runtime/host_error.hpp"

namespace {

/// The current folder is somebody's, and kept for what is found.
class InFolder {
 public:
  InFolder() : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(folder_.path());
  }
  ~InFolder() { std::filesystem::current_path(before_); }
  InFolder(const InFolder&) = delete;
  InFolder& operator=(const InFolder&) = delete;

 private:
  fuzz::TemporaryFolder folder_{"h5gate-fuzz"};
  std::filesystem::path before_;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  zembra::setWarningHandler([](const zembra::Warning&) {});
  fuzz::vocabulary();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const InFolder folder;
  fuzz::Tally tally;
  fuzz::CallSequence sequence({data, size}, tally, false);
  sequence.run();
  sequence.end();
  return 0;
}
