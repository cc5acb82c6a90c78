#include "python/gateway_call.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "hdf5/error_stack.hpp"
#include "python/argument_to_host.hpp"
#include "python/dropped_results.hpp"
#include "python/failure_notes.hpp"
#include "python/from_host.hpp"
#include "python/interpreter_lock.hpp"
#include "python/interrupt.hpp"
#include "python/library_lock.hpp"
#include "python/named_datatype.hpp"
#include "python/python_exception.hpp"
#include "python/raise_in_python.hpp"
#include "python/to_host.hpp"
#include "python/unconvertible.hpp"
#include "python/utf8.hpp"
#include "runtime/call.hpp"
#include "runtime/gateway_loader.hpp"
#include "runtime/host_error.hpp"

namespace zembra::python {
namespace {

/// "H5Screate_simple: argument 2 (dims): "
std::string whereIs(std::string_view label, const Form* form, std::size_t index) {
  std::string where = std::string(label) + ": argument " + std::to_string(index + 1);
  if (form != nullptr) where += " (" + std::string(form->name(index)) + ")";
  return where + ": ";
}

/// Without a form, as the host takes them.
Value convert(PyObject* object, std::string_view label, const Form* form, std::size_t index) {
  try {
    return form == nullptr ? toHost(object)
                           : argumentToHost(object, kindIn(form->arguments, index));
  } catch (const Unconvertible& error) {
    throw Unconvertible(error.type(), whereIs(label, form, index) + error.what());
  }
}

/// The arguments of one call, the function's name first. They stand on the stack
/// unless they are unusually many, and only those that are there cost anything.
class Arguments {
 public:
  explicit Arguments(std::size_t capacity) : many_(capacity > kFew ? capacity : 0) {}
  ~Arguments() {
    for (std::size_t i = borrowed_; i < count_; ++i) drop(const_cast<zbArray*>(arrays()[i]));
  }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  /// An array that outlives the call; comes before all others.
  void borrow(const zbArray* array) {
    arrays()[count_++] = array;
    borrowed_ = count_;
  }
  void append(Value value) { arrays()[count_++] = value.release(); }
  void replace(std::size_t index, Value value) {
    const zbArray*& place = arrays()[borrowed_ + index];
    drop(const_cast<zbArray*>(place));
    place = value.release();
  }

  [[nodiscard]] int count() const { return static_cast<int>(count_); }
  const zbArray* at(std::size_t index) { return arrays()[borrowed_ + index]; }
  const zbArray** arrays() { return many_.empty() ? few_ : many_.data(); }

  /// Where the array stands, counted from 1 behind the name; 0 where it is none of them.
  [[nodiscard]] std::size_t positionOf(const zbArray* array) {
    const zbArray** const end = arrays() + count_;
    const zbArray** const found = std::find(arrays() + borrowed_, end, array);
    return found == end ? 0 : static_cast<std::size_t>(found - arrays()) - borrowed_ + 1;
  }

 private:
  static constexpr std::size_t kFew = 16;

  std::size_t borrowed_ = 0;
  std::size_t count_ = 0;
  const zbArray* few_[kFew];  // filled up to count_
  std::vector<const zbArray*> many_;
};

py::object toPython(zbArray* result, const Form* form, std::size_t index) {
  const Value value = CallScope::take(result);
  return form == nullptr ? fromHost(value) : fromHost(value, kindIn(form->results, index));
}

/// None, the one result, or a tuple.
py::object toPython(std::span<zbArray* const> results, const Form* form) {
  if (results.empty()) return py::none();
  if (results.size() == 1) return toPython(results[0], form, 0);
  py::tuple tuple(results.size());
  for (std::size_t i = 0; i < results.size(); ++i) tuple[i] = toPython(results[i], form, i);
  return tuple;
}

/// Data go by the memory datatype before them.
void fitData(Arguments& arguments, const Form& form) {
  if (!form.arguments.ends_with(static_cast<char>(Kind::Data))) return;
  const std::size_t data = form.arguments.size() - 1;
  const std::size_t type = form.arguments.find(static_cast<char>(Kind::MemoryType));
  if (type == std::string_view::npos) return;
  if (Value fitting = inClassOf(arguments.at(type), arguments.at(data))) {
    arguments.replace(data, std::move(fitting));
  }
}

/// Whether a function only looks at what HDF5 has in memory: it returns before another thread
/// could have the interpreter's lock.
bool isBrief(std::string_view function) {
  static constexpr std::string_view kInterfaces[] = {
      "H5S", "H5P", "H5E", "H5Z", "H5Tget", "H5Tset", "H5Iget_type", "H5Iget_ref", "H5Iis_valid"};
  return std::ranges::any_of(kInterfaces,
                             [&](std::string_view prefix) { return function.starts_with(prefix); });
}

/// The gateway's entry point; other Python threads run while HDF5 works.
void enter(std::string_view function, int nOut, zbArray** outs, int nIn, const zbArray** ins) {
  const InterruptScope interrupt;
  try {
    std::optional<InterpreterReleased> released;
    if (!isBrief(function)) released.emplace();
    loadGateway()(nOut, outs, nIn, ins);
  } catch (...) {
    interrupt.end();
    throw;
  }
  interrupt.end();
}

/// `refused` becomes the position of the argument that the call fails because of.
py::object call(const zbArray* name, std::string_view label, const Form* form,
                std::span<PyObject* const> objects, int nOut, std::size_t& refused) {
  Arguments arguments(objects.size() + 1);
  if (name != nullptr) arguments.borrow(name);
  for (std::size_t i = 0; i < objects.size(); ++i) {
    refused = i + 1;
    arguments.append(convert(objects[i], label, form, i));
  }
  refused = 0;
  const LibraryLock lock;
  if (form != nullptr) fitData(arguments, *form);
  const CallScope scope;
  std::array<zbArray*, kResultSlots> outs{};
  try {
    enter(label, nOut, outs.data(), arguments.count(), arguments.arrays());
  } catch (const HostError& error) {
    if (error->input != nullptr) refused = arguments.positionOf(error->input);
    throw;
  }
  // Handlers store results that nobody asked for; those stay behind, and closed.
  const auto asked = std::span(outs).first(static_cast<std::size_t>(nOut));
  const auto stored = std::find(asked.begin(), asked.end(), nullptr) - asked.begin();
  closeDropped(label, form, objects.size(), asked.size(), std::span(outs).subspan(asked.size()));
  return toPython(asked.first(static_cast<std::size_t>(stored)), form);
}

}  // namespace

int resultsAskedFor(std::string_view label, PyObject* names, PyObject* const* values) {
  if (names == nullptr) return kDefaultResults;
  int nOut = kDefaultResults;
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(names); ++i) {
    PyObject* const name = PyTuple_GET_ITEM(names, i);
    if (PyUnicode_CompareWithASCIIString(name, "nout") != 0) {
      throw py::type_error(std::string(label) + " takes no keyword argument '" +
                           std::string(utf8(borrow(name)).view()) + "', only 'nout'");
    }
    const std::string wrong = std::string(label) + ": nout must be an int from 0 to " +
                              std::to_string(kResultSlots) + ", not ";
    if (PyIndex_Check(values[i]) == 0) {
      throw py::type_error(wrong + std::string(py::repr(borrow(values[i]))));
    }
    const long asked = PyLong_AsLong(values[i]);
    if (asked == -1) PyErr_Clear();  // out of range, whichever way
    if (asked < 0 || asked > kResultSlots) {
      throw py::value_error(wrong + std::string(py::repr(borrow(values[i]))));
    }
    nOut = static_cast<int>(asked);
  }
  return nOut;
}

PyObject* callGateway(const zbArray* name, std::string_view label, const Form* form,
                      std::span<PyObject* const> arguments, int nOut) noexcept {
  const CallFromPython visit;
  std::size_t refused = 0;
  try {
    return call(name, label, form, arguments, nOut, refused).release().ptr();
  } catch (const PythonException& exception) {
    exception.raise();  // somebody else's, out of a callback or a warning
    return nullptr;
  } catch (...) {
    raiseInPython();
  }
  // Not in the handler: notes take calls of their own, which may be where the thread ends.
  addNotes(label, arguments, refused);
  return nullptr;
}

PyObject* callByName(PyObject* /*module*/, PyObject* const* values, Py_ssize_t count,
                     PyObject* names) noexcept {
  const CallFromPython visit;
  try {
    const int nOut = resultsAskedFor("zembra.call", names, values + count);
    const std::span arguments(values, static_cast<std::size_t>(count));
    if (arguments.empty()) return callGateway(nullptr, "zembra.call", nullptr, arguments, nOut);
    const Value name = toHost(arguments[0]);
    const std::string label = PyUnicode_Check(arguments[0])
                                  ? std::string(utf8(borrow(arguments[0])).view())
                                  : "zembra.call";
    return callGateway(name.get(), label, nullptr, arguments.subspan(1), nOut);
  } catch (...) {
    raiseInPython();
    return nullptr;
  }
}

PyObject* askByName(PyObject* /*module*/, PyObject* const* values, Py_ssize_t count) noexcept {
  const CallFromPython visit;
  try {
    const std::span arguments(values, static_cast<std::size_t>(count));
    if (arguments.empty() || PyUnicode_Check(arguments[0]) == 0) {
      throw py::type_error("ask: the name of a function comes first");
    }
    const Utf8 name = utf8(borrow(arguments[0]));
    std::size_t refused = 0;
    const LibraryLock lock;
    const hdf5::KeepErrorStack stack;
    return call(nullptr, name.view(), nullptr, arguments, kDefaultResults, refused).release().ptr();
  } catch (...) {
    raiseInPython();
    return nullptr;
  }
}

}  // namespace zembra::python
