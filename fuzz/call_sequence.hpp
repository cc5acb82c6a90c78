// A sequence of calls, each made of as many bytes. It begins with files that have something of
// everything in them; wherever the library is closed, it begins anew.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <span>
#include <string>

#include "fuzz/call_arguments.hpp"
#include "fuzz/pools.hpp"

namespace fuzz {

constexpr std::size_t kBytesOfCall = 24;

/// The bytes of a call of H5close; `variant` tells what files come after it.
std::array<std::uint8_t, kBytesOfCall> closingCall(std::uint8_t variant);

/// What became of calls; lies in memory that processes share, so that it outlives them.
struct Tally {
  std::uint64_t calls = 0;
  std::uint64_t done = 0;
  std::uint64_t refusedByHdf5 = 0;
  std::uint64_t refusedByUs = 0;
  std::uint64_t withoutMemory = 0;
  std::uint64_t steps = 0;          // of the sequence
  std::uint64_t keptOpen = 0;       // libraries that would not close
  std::array<char, 64> function{};  // called last
};

class CallSequence {
 public:
  /// `aloud`: prints each call, and what became of it, for whoever replays it.
  CallSequence(std::span<const std::uint8_t> bytes, Tally& tally, bool aloud);

  void run();
  /// Closes the library, as a script does.
  void end();

 private:
  class Function;

  void prepare();
  void prepareLists();
  void prepareTypes();
  void prepareFiles();
  Value make(const std::string& function, const Values& arguments);
  void step(Choices& choices);
  Values callAloud(const std::string& function, const Values& arguments, int nOut);
  void keep(const Form& form, const Values& arguments, const Values& results);

  std::span<const std::uint8_t> bytes_;
  Tally& tally_;
  bool aloud_;
  Pools pools_;
  Choices* current_ = nullptr;
  unsigned variant_ = 0;  // of the files
  int depth_ = 0;
};

}  // namespace fuzz
