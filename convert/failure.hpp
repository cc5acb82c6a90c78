// How a failure is raised: a catalogued message by its key, or HDF5's error stack.
#pragma once

#include <utility>

#include "host/library_error.hpp"
#include "host/messages.hpp"

namespace h5gate {

namespace msg = Zembra::fmtio::h5gate;

using Zembra::checked;

/// raise<msg::notString>("file name"): does not return.
template <class Message, class... Parameters>
[[noreturn]] void raise(Parameters&&... parameters) {
  zbErrMsgId(Message(std::forward<Parameters>(parameters)...));
}

/// The same about an input that was refused.
template <class Message, class... Parameters>
[[noreturn]] void raiseAbout(const zbArray* input, Parameters&&... parameters) {
  Message message(std::forward<Parameters>(parameters)...);
  message.concern(input);
  zbErrMsgId(message);
}

/// The same after a failure of HDF5, whose error stack goes with it.
template <class Message, class... Parameters>
[[noreturn]] void raiseFailed(Parameters&&... parameters) {
  Message message(std::forward<Parameters>(parameters)...);
  message.blameLibrary();
  zbErrMsgId(message);
}

/// What HDF5 itself should refuse and, in some release, does not: pushes a record
/// that says so on HDF5's error stack and raises it.
[[noreturn]] void raiseRefusal(const char* function, const char* reason);

}  // namespace h5gate
