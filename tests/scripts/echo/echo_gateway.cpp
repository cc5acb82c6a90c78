// A gateway that only looks at what it is given and gives it back: with it in the
// place of the real one, the tests see what Python values become on the host and
// what host arrays become in Python.
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/call.hpp"
#include "host/messages.hpp"
#include "runtime/array.hpp"

namespace {

std::string describe(const zbArray* array) {
  std::string text = zembra::describe(array);
  if (array->naturalRank >= 0) text += " rank " + std::to_string(array->naturalRank);
  if (zbIsComplex(array)) text += " complex";
  if (zbIsSparse(array)) text += " sparse";
  if (!array->composite) return text;
  const auto& [names, fields, packed, className, target, exception] = *array->composite;
  const bool cell = array->type == zbClass::Cell;
  const std::size_t count = cell ? array->elements : fields.size();
  if (count == 0) return text;
  text += " {";
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) text += ", ";
    if (!names.empty()) text += names[i % names.size()] + ": ";
    text += describe(cell ? zbGetCell(array, i) : fields[i]);
  }
  return text + "}";
}

zbArray* functionNames() {
  const char* const names[] = {"address",  "bytes", "call",   "complain", "copy",
                               "describe", "fail",  "fields", "matrix",   "report",
                               "same",     "unset", "warn"};
  const std::size_t shape[] = {std::size(names), 1};
  zbArray* cell = zbCreateCellArray(2, shape);
  for (std::size_t i = 0; i < std::size(names); ++i) zbSetCell(cell, i, zbCreateString(names[i]));
  return cell;
}

void fail(const std::string& how) {
  if (how == "memory") throw std::bad_alloc();
  if (how == "library") throw std::runtime_error("out of order");
  throw 42;
}

/// The basic report of what the function handle throws, empty when nothing.
std::string report(int count, zbArray** arguments) {
  zbArray* results[2] = {};
  zbArray* exception = zebCallZembraWithTrap(2, results, count, arguments, "feval");
  if (exception == nullptr) return "";
  zbArray* ins[] = {exception, zbCreateString("basic")};
  zbArray* text = nullptr;
  if (zebCallZembra(1, &text, 2, ins, "getReport") != 0) return "no report";
  return {static_cast<const char*>(zbGetData(text)), zbGetNumberOfElements(text)};
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void zebFunction(int nOut, zbArray** outs,
                                                                   int nIn, const zbArray** ins) {
  const std::string name(static_cast<const char*>(zbGetData(ins[0])),
                         zbGetNumberOfElements(ins[0]));
  zbArray** const arguments = const_cast<zbArray**>(ins) + 1;
  const int count = nIn - 1;
  if (name == "H5ZBget_function_names") {
    outs[0] = functionNames();
  } else if (name == "describe") {
    outs[0] = zbCreateString(describe(arguments[0]).c_str());
  } else if (name == "bytes") {  // the data as they lie
    const std::size_t size = zbGetNumberOfElements(arguments[0]) * zbGetElementSize(arguments[0]);
    const std::size_t shape[] = {1, size};
    outs[0] = zbCreateNumericArray(2, shape, zbClass::UInt8);
    if (size > 0) std::memcpy(zbGetWritableData(outs[0]), zbGetData(arguments[0]), size);
  } else if (name == "address") {
    outs[0] = zbCreateDoubleScalar(
        static_cast<double>(reinterpret_cast<std::uintptr_t>(zbGetData(arguments[0]))));
  } else if (name == "copy") {
    for (int i = 0; i < count; ++i) outs[i] = zbDuplicateArray(arguments[i]);
  } else if (name == "matrix") {  // column-major, of no natural rank
    outs[0] = zbDuplicateArray(arguments[0]);
    zbSetDimensions(outs[0], zbGetNumberOfDimensions(outs[0]), zbGetDimensions(outs[0]));
  } else if (name == "same") {
    for (int i = 0; i < count; ++i) outs[i] = arguments[i];
  } else if (name == "unset") {  // a cell whose elements nobody set, a gap among the results
    const std::size_t shape[] = {1, 2};
    outs[0] = zbCreateCellArray(2, shape);
    outs[2] = zbCreateDoubleScalar(2);
  } else if (name == "fields") {  // a structure of several elements
    const char* const names[] = {"a", "b"};
    outs[0] = zbCreateStructArray(static_cast<std::size_t>(zbGetScalar(arguments[0])), 2, names);
  } else if (name == "call") {
    if (zebCallZembra(nOut, outs, count, arguments, "feval") != 0) fail("library");
  } else if (name == "report") {
    outs[0] = zbCreateString(report(count, arguments).c_str());
  } else if (name == "complain") {
    zbErrMsgId(Zembra::fmtio::h5gate::linkIterationFailure(report(count, arguments)));
  } else if (name == "warn") {
    zbWarningMsgId(Zembra::fmtio::h5gate::H5Aiterator2_Callback_failure(report(count, arguments)));
    outs[0] = zbCreateDoubleScalar(-1);
  } else if (name == "fail") {
    fail(std::string(static_cast<const char*>(zbGetData(arguments[0])),
                     zbGetNumberOfElements(arguments[0])));
  } else {  // a function of the gateway's own: what it is given
    std::string text;
    for (int i = 0; i < count; ++i) text += (i > 0 ? "; " : "") + describe(arguments[i]);
    outs[0] = zbCreateString(text.c_str());
  }
}
