// H5E: the error stack that the last failed call left.
#include "convert/callbacks.hpp"
#include "convert/record.hpp"
#include "hdf5/allocated_text.hpp"
#include "hdf5/error_stack.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

// --- Texts ----------------------------------------------------------------------------

/// A message by its number in 32 bits. One that stands for no message has no text, which
/// is no failure.
struct MessageNumber {
  static hid_t from(const zbArray* array) { return identifierFromHost(getIntArg(array)); }
};

// --- Walking ------------------------------------------------------------------------------

using StackRecord = H5E_error2_t;

constexpr Field<StackRecord> kStackRecord[] = {
    {"maj_num", [](const StackRecord& record) { return makeHidResult(record.maj_num); }},
    {"min_num", [](const StackRecord& record) { return makeHidResult(record.min_num); }},
    {"func_name", [](const StackRecord& record) { return zbCreateString(record.func_name); }},
    {"file_name", [](const StackRecord& record) { return zbCreateString(record.file_name); }},
    {"line", numberOf<&StackRecord::line>},
    {"desc", [](const StackRecord& record) { return zbCreateString(record.desc); }},
};

zbArray* makeErrorRecord(const StackRecord& record) { return makeRecord(kStackRecord, record); }

/// The host function may call the gateway, which would clear the stack under the
/// walk: it walks the stack set aside, which is put back for the next walk.
void walk(Inputs ins, Results& /*outs*/) {
  const auto [direction, function] = take<Enum<H5E_direction_t>, Any>(ins);
  CallbackContext context(function);
  const hdf5::KeepErrorStack stack;
  const herr_t status = hdf5::walkErrors(stack.id(), direction,
                                         plainAdapter<msg::H5Ewalk1_Callback, NumberInput<unsigned>,
                                                      RecordInput<StackRecord, makeErrorRecord>>,
                                         &context);
  context.raiseParked();
  if (status < 0) raiseFailed<msg::erorStackCallbackFunctionFailed>();
}

constexpr Row kErrorFunctions[] = {
    // clang-format off
    //   name         calls      gives                     takes
    CALL(H5Eclear,    H5Eclear1, Nothing),
    ROW(H5Eget_major,            Unchecked<AllocatedText>, MessageNumber),
    ROW(H5Eget_minor,            Unchecked<AllocatedText>, MessageNumber),
    OWN(H5Ewalk,                 walk),
};  // clang-format on

}  // namespace

std::span<const Row> errorFunctions() { return kErrorFunctions; }

}  // namespace h5gate
