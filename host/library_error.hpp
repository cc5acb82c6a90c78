// HDF5's failures, raised by the host.
#pragma once

/// Raises HDF5's current error stack as a host error. Does not return; the stack
/// stays as it is, so that a script can walk it afterwards.
[[noreturn]] void KVH5libraryError();

namespace Zembra {

/// The status rule of nearly every HDF5 call: a negative value is a failure and raises
/// the error stack, any other is handed on.
template <class Status>
Status checked(Status status) {
  if (status < 0) KVH5libraryError();
  return status;
}

}  // namespace Zembra
