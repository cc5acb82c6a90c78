// Why dimension scales failed. HDF5's high-level library closes what it has open once
// something has failed, which clears the error stack, and says nothing of what it refuses
// itself.
#pragma once

#include <cstddef>
#include <tuple>
#include <utility>

#include "hdf5/error_stack.hpp"

namespace hdf5 {

/// While it lives, keeps the error stack of the HDF5 call that failed last, which calls
/// after it would clear.
class LastFailure {
 public:
  LastFailure();
  ~LastFailure();
  LastFailure(const LastFailure&) = delete;
  LastFailure& operator=(const LastFailure&) = delete;

  /// Makes the stack kept the current one; false when nothing has failed.
  bool restore();

 private:
  static herr_t keep(hid_t stack, void* self);

  hid_t stack_ = -1;
};

/// What is wrong with the arguments, where HDF5 does not say it; never null.
const char* wrongWithScaled(hid_t dataset);
const char* wrongWithDimension(hid_t dataset, unsigned dimension);
const char* wrongWithNewScale(hid_t dataset);
const char* wrongWithNameOf(hid_t scale);
const char* wrongWithAttaching(hid_t dataset, hid_t scale, unsigned dimension);
const char* wrongWithDetaching(hid_t dataset, hid_t scale, unsigned dimension);

/// What a question answers to as many of the first arguments as it looks at.
template <class Answer, class... Looked, class... Arguments>
Answer ask(Answer (*question)(Looked...), Arguments... arguments) {
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    return question(std::get<I>(std::tie(arguments...))...);
  }
  (std::index_sequence_for<Looked...>());
}

/// `Call`, named `function`; one that fails leaves records that say why: HDF5's own, or what
/// `wrong` finds. Not called where the attributes that it reads are not `sound`.
template <auto Call, class Sound, class Wrong, class... Arguments>
auto callScales(const char* function, Sound sound, Wrong wrong, Arguments... arguments) {
  using Answer = decltype(Call(arguments...));
  if (!ask(sound, arguments...)) {
    return Answer{
        refuse(function, "an attribute has the name of one of dimension scales, and is none")};
  }
  LastFailure failure;
  const Answer answer = Call(arguments...);
  if (answer < 0 && !failure.restore()) refuse(function, ask(wrong, arguments...));
  return answer;
}

}  // namespace hdf5
