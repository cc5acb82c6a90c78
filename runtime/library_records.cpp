#include "runtime/library_records.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "hdf5/error_stack.hpp"

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

/// What was tried on the way says less than what was given up: where a filter is missing,
/// the innermost records are about folders of plugins.
bool isAttempt(const ErrorRecord& record) {
  return std::string_view(record.major).starts_with("Plugin");
}

const ErrorRecord& mostTelling(const std::vector<ErrorRecord>& records) {
  const auto found = std::ranges::find_if_not(records, isAttempt);
  return found == records.end() ? records.front() : *found;
}

/// Some descriptions have the time of day in them, which ends in an end of line.
std::string inOneLine(const std::string& text) {
  std::string line;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\n') {
      line += text[i];
    } else if (i + 1 < text.size() && text[i + 1] != ',') {
      line += ' ';
    }
  }
  return line;
}

}  // namespace

std::vector<ErrorRecord> currentErrorRecords() {
  std::vector<ErrorRecord> records;
  // Asking for a message's text clears the stack in 1.8: it is set aside meanwhile.
  const hdf5::KeepErrorStack stack;
  // H5E_WALK_UPWARD: from the innermost function out.
  H5Ewalk2(stack.id(), H5E_WALK_UPWARD, collect, &records);
  return records;
}

std::string leadingLine(const std::vector<ErrorRecord>& records) {
  if (records.empty()) return {};
  const ErrorRecord& reason = mostTelling(records);
  const std::string& call = records.back().function;
  std::string text = call + ": " + inOneLine(reason.description);
  if (reason.description.empty()) {
    text = (reason.function == call ? "" : call + ": ") + reason.function + " failed";
  }
  if (!reason.minor.empty()) text += " (" + reason.minor + ")";
  return text;
}

}  // namespace zembra
