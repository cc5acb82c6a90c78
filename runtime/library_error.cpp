// HDF5's error stack as a host error.
#include "host/library_error.hpp"

#include <utility>

#include "runtime/host_error.hpp"
#include "runtime/library_records.hpp"
#include "runtime/pending_cause.hpp"

void KVH5libraryError() {
  zembra::HostError::Content content;
  content.identifier = "Zembra:HDF5:libraryError";
  content.key = "libraryError";
  content.libraryFailure = true;
  content.stack = zembra::currentErrorRecords();
  content.libraryReason = zembra::leadingLine(content.stack);
  content.text = content.stack.empty() ? "HDF5 reported a failure without an error record."
                                       : content.libraryReason;
  content.cause = zembra::takePendingCause();
  throw zembra::HostError(std::move(content));
}
