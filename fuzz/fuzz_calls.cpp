// Sequences of calls of any function, mostly with what it takes: whatever a script does, the
// process lives, ends, and touches no byte outside an array.
//
//   fuzz_calls [SEED [CALLS]]     sequences made of a seed
//   fuzz_calls --replay FILE      one sequence, call by call, in this process
//   fuzz_calls --shrink FILE      the shortest sequence that ends as badly, replayed
//
// Each bad end is shrunk and written to crash-SEED-NUMBER in the current folder, whose bytes
// --replay and guided_calls take, too. Sequences run in children with bounds of time, memory
// and file sizes, and in a folder of their own.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "fuzz/call_sequence.hpp"
#include "fuzz/child_process.hpp"
#include "fuzz/shrinking.hpp"
#include "fuzz/temporary_folder.hpp"
#include "fuzz/vocabulary.hpp"
#include "runtime/gateway_loader.hpp"
#include "runtime/host_error.hpp"

namespace {

using namespace fuzz;

constexpr std::size_t kCallsInSequence = 6000;
constexpr std::size_t kCallsToClose = 150;
constexpr unsigned kSeconds = 120;  // of a sequence: it takes less than one
constexpr auto kShrinking = std::chrono::minutes(3);

// --- Sequences -----------------------------------------------------------------------------

/// Of this seed the one with this number: each can be had without those before it.
Bytes sequence(std::uint32_t seed, std::size_t index) {
  std::seed_seq seeds{seed, static_cast<std::uint32_t>(index)};
  std::mt19937 random(seeds);
  Bytes bytes(1 + kBytesOfCall * kCallsInSequence);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
  for (std::size_t call = kCallsToClose; call < kCallsInSequence; call += kCallsToClose) {
    std::uint8_t* const place = &bytes[1 + call * kBytesOfCall];
    std::ranges::copy(closingCall(place[0]), place);
  }
  return bytes;
}

void write(const Bytes& bytes, const std::string& path) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

class Fuzzer {
 public:
  explicit Fuzzer(std::uint32_t seed)
      : seed_(seed),
        tally_(*new (mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Tally()) {
    vocabulary();  // once for all children
  }

  void run(std::uint64_t calls) {
    for (std::size_t index = 0; tally_.calls < calls; ++index) {
      Bytes bytes = sequence(seed_, index);
      const End end = runIn(bytes, tally_);
      if (end.isGood()) continue;
      bytes.resize(std::min(bytes.size(), 1 + tally_.steps * kBytesOfCall));
      find(bytes, end, index);
    }
  }

  /// Whether nothing was found.
  bool report() const {
    std::printf(
        "%zu calls: %zu gave results, HDF5 refused %zu, the gateway %zu, for want of "
        "memory %zu; %zu times the library would not close\n",
        tally_.calls, tally_.done, tally_.refusedByHdf5, tally_.refusedByUs, tally_.withoutMemory,
        tally_.keptOpen);
    for (const auto& [words, count] : found_) std::printf("%zu: %s\n", count, words.c_str());
    std::printf("%s\n", found_.empty() ? "no call ended the process" : "FINDINGS");
    return found_.empty();
  }

  /// The calls of the shortest sequence that ends as badly go to FILE.txt.
  void shrink(const Bytes& bytes, const std::string& file) {
    const std::string path = std::filesystem::absolute(file).string();
    write(bytes, path);
    const auto end = std::chrono::steady_clock::now() + kShrinking;
    const auto fails = [&](const Bytes& some) {
      return std::chrono::steady_clock::now() < end && !runIn(some, scratch_).isGood();
    };
    const bool again = fails(bytes);
    const Bytes least = again ? shrunk(bytes, fails) : bytes;
    write(least, path);
    const End last = inChild(folder_.path(), kSeconds, path + ".txt",
                             [&] { CallSequence(least, scratch_, true).run(); });
    std::printf("%s has %zu calls: %s; see %s.txt\n", file.c_str(),
                (least.size() - 1) / kBytesOfCall,
                again ? last.inWords().c_str() : "ends well the next time", file.c_str());
    std::fflush(stdout);
  }

 private:
  End runIn(const Bytes& bytes, Tally& tally) {
    const End end = inChild(folder_.path(), kSeconds, "/dev/null",
                            [&] { CallSequence(bytes, tally, false).run(); });
    folder_.clear();
    return end;
  }

  void find(const Bytes& bytes, const End& end, std::size_t index) {
    const std::string words = std::string(tally_.function.data()) + " " + end.inWords();
    std::printf("=== %s in sequence %zu\n", words.c_str(), index);
    if (++found_[words] > 1) return;
    std::fflush(stdout);
    shrink(bytes, "crash-" + std::to_string(seed_) + "-" + std::to_string(found_.size()));
  }

  std::uint32_t seed_;
  TemporaryFolder folder_{"h5gate-fuzz"};
  Tally& tally_;
  Tally scratch_;
  std::map<std::string, std::size_t> found_;
};

Bytes contentOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error("no file " + file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

int replay(const Bytes& bytes) {
  const TemporaryFolder folder("h5gate-fuzz");
  std::filesystem::current_path(folder.path());
  Tally tally;
  CallSequence(bytes, tally, true).run();
  std::filesystem::current_path("/");
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  zembra::setWarningHandler([](const zembra::Warning&) {});
  zembra::loadGateway();
  if (arguments.size() == 2 && arguments[0] == "--replay") return replay(contentOf(arguments[1]));
  if (arguments.size() == 2 && arguments[0] == "--shrink") {
    Fuzzer(0).shrink(contentOf(arguments[1]), arguments[1] + ".least");
    return 0;
  }
  const auto seed = arguments.empty() ? std::random_device()()
                                      : static_cast<std::uint32_t>(std::stoul(arguments[0]));
  const std::uint64_t calls = arguments.size() > 1 ? std::stoull(arguments[1]) : 100000;
  std::printf("seed %u\n", seed);
  Fuzzer fuzzer(seed);
  fuzzer.run(calls);
  return fuzzer.report() ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 2;
}
