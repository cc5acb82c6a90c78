// H5E: the error stack that the last failed call left.
#include "convert/callbacks.hpp"
#include "convert/record.hpp"
#include "hdf5/handle.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

// --- Texts ------------------------------------------------------------------------------

/// A number that stands for no message has no text, which is no failure.
template <char* (*GetText)(hid_t)>
void getMessage(zbArray** outs, const zbArray** ins) {
  const hid_t message = identifierFromHost(getIntArg(ins[0]));
  const hdf5::AllocatedText text(GetText(message));
  outs[0] = zbCreateString(text.get());
}

// --- Walking ------------------------------------------------------------------------------

using Record = H5E_error2_t;

constexpr Field<Record> kRecord[] = {
    {"maj_num", [](const Record& record) { return makeHidResult(record.maj_num); }},
    {"min_num", [](const Record& record) { return makeHidResult(record.min_num); }},
    {"func_name", [](const Record& record) { return zbCreateString(record.func_name); }},
    {"file_name", [](const Record& record) { return zbCreateString(record.file_name); }},
    {"line", numberOf<&Record::line>},
    {"desc", [](const Record& record) { return zbCreateString(record.desc); }},
};

zbArray* makeErrorRecord(const Record& record) { return makeRecord(kRecord, record); }

/// The host function may call the gateway, which would clear the stack under the
/// walk: it walks the stack set aside, which is put back for the next walk.
void walk(zbArray** /*outs*/, const zbArray** ins) {
  const auto direction = getEnumArg<H5E_direction_t>(ins[0]);
  CallbackContext context(ins[1]);
  const hdf5::KeepErrorStack stack;
  const herr_t status =
      context.returned(H5Ewalk2(stack.id(), direction,
                                plainAdapter<msg::H5Ewalk1_Callback, NumberInput<unsigned>,
                                             RecordInput<Record, makeErrorRecord>>,
                                &context));
  if (status < 0) raise<msg::erorStackCallbackFunctionFailed>();
}

constexpr Row kErrorFunctions[] = {
    // name          call       gives    takes
    {"H5Eclear", wrap<H5Eclear1, Nothing>},
    {"H5Eget_major", rule<1, getMessage<H5Eget_major>>},
    {"H5Eget_minor", rule<1, getMessage<H5Eget_minor>>},
    {"H5Ewalk", rule<2, walk>},
};

}  // namespace

std::span<const Row> errorFunctions() { return kErrorFunctions; }

}  // namespace h5gate
