// HDF5's error stack as a host error.
#include "host/library_error.hpp"

#include "hdf5/error_stack.hpp"
#include "runtime/host_error.hpp"
#include "runtime/pending_cause.hpp"

namespace zembra {
namespace {

std::string messageText(hid_t message) {
  char text[256] = "";
  H5E_type_t kind = H5E_MAJOR;
  if (H5Eget_msg(message, &kind, text, sizeof text) < 0) return {};
  return text;
}

std::string orEmpty(const char* text) { return text == nullptr ? "" : text; }

herr_t collect(unsigned /*position*/, const H5E_error2_t* record, void* data) noexcept {
  try {
    static_cast<std::vector<ErrorRecord>*>(data)->push_back(
        {orEmpty(record->func_name), orEmpty(record->file_name), record->line,
         orEmpty(record->desc), messageText(record->maj_num), messageText(record->min_num)});
    return 0;
  } catch (...) {
    return -1;  // out of memory: the records so far have to do
  }
}

/// The innermost record says what went wrong, the outermost which call failed.
std::string summary(const std::vector<ErrorRecord>& stack) {
  if (stack.empty()) return "HDF5 reported a failure without an error record.";
  const ErrorRecord& reason = stack.front();
  std::string text = reason.description;
  if (text.empty()) {
    text = reason.minor;
  } else if (!reason.minor.empty()) {
    text += " (" + reason.minor + ")";
  }
  return stack.back().function + ": " + text;
}

}  // namespace
}  // namespace zembra

void KVH5libraryError() {
  zembra::HostError::Content content;
  content.identifier = "Zembra:HDF5:libraryError";
  content.key = "libraryError";
  content.libraryFailure = true;
  {
    // Asking for a message's text clears the stack in 1.8: it is set aside meanwhile.
    const hdf5::KeepErrorStack stack;
    // H5E_WALK_UPWARD: from the innermost function out.
    H5Ewalk2(stack.id(), H5E_WALK_UPWARD, zembra::collect, &content.stack);
  }
  content.text = zembra::summary(content.stack);
  content.cause = zembra::takePendingCause();
  throw zembra::HostError(std::move(content));
}
