#include "python/gateway_call.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "python/errors.hpp"
#include "python/from_host.hpp"
#include "python/text.hpp"
#include "python/to_host.hpp"
#include "runtime/call.hpp"

namespace zembra::python {
namespace {

/// The arguments of one call, the function's name first; on the stack unless they
/// are unusually many.
class Arguments {
 public:
  Arguments(const zbArray* name, std::string_view label, std::span<PyObject* const> objects)
      : count_(objects.size() + (name != nullptr ? 1 : 0)) {
    if (count_ > kFew) {
      manyValues_.resize(count_);
      manyArrays_.resize(count_);
    }
    std::size_t at = 0;
    if (name != nullptr) arrays()[at++] = name;
    for (std::size_t i = 0; i < objects.size(); ++i, ++at) {
      values()[at] = convert(label, i + 1, objects[i]);
      arrays()[at] = values()[at].get();
    }
  }

  [[nodiscard]] int count() const { return static_cast<int>(count_); }
  const zbArray** arrays() { return count_ > kFew ? manyArrays_.data() : fewArrays_.data(); }

 private:
  static constexpr std::size_t kFew = 16;

  Value* values() { return count_ > kFew ? manyValues_.data() : fewValues_.data(); }

  static Value convert(std::string_view label, std::size_t position, PyObject* object) {
    try {
      return toHost(object);
    } catch (const Unconvertible& error) {
      throw Unconvertible(error.type(), std::string(label) + ": argument " +
                                            std::to_string(position) + ": " + error.what());
    }
  }

  std::size_t count_;
  std::array<Value, kFew> fewValues_;
  std::array<const zbArray*, kFew> fewArrays_;
  std::vector<Value> manyValues_;
  std::vector<const zbArray*> manyArrays_;
};

/// None, the one result, or a tuple.
py::object toPython(std::span<zbArray* const> results) {
  if (results.empty()) return py::none();
  if (results.size() == 1) return fromHost(CallScope::take(results[0]));
  py::tuple tuple(results.size());
  for (std::size_t i = 0; i < results.size(); ++i) {
    tuple[i] = fromHost(CallScope::take(results[i]));
  }
  return tuple;
}

py::object call(const zbArray* name, std::string_view label, std::span<PyObject* const> objects,
                int nOut) {
  Arguments arguments(name, label, objects);
  const CallScope scope;
  std::array<zbArray*, kResultSlots> outs{};
  loadGateway()(nOut, outs.data(), arguments.count(), arguments.arrays());
  // Handlers store results that nobody asked for; those stay behind.
  const auto asked = std::span(outs).first(static_cast<std::size_t>(nOut));
  const auto stored = std::find(asked.begin(), asked.end(), nullptr) - asked.begin();
  return toPython(asked.first(static_cast<std::size_t>(stored)));
}

}  // namespace

int resultsAskedFor(PyObject* names, PyObject* const* values) {
  if (names == nullptr) return kDefaultResults;
  int nOut = kDefaultResults;
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(names); ++i) {
    PyObject* const name = PyTuple_GET_ITEM(names, i);
    if (PyUnicode_CompareWithASCIIString(name, "nout") != 0) {
      throw py::type_error("gateway functions take no keyword argument '" +
                           std::string(utf8(borrow(name)).view()) + "', only 'nout'");
    }
    const long asked = PyLong_AsLong(values[i]);
    if (asked == -1 && PyErr_Occurred() != nullptr) throw py::error_already_set();
    if (asked < 0 || asked > kResultSlots) {
      throw py::value_error("nout must be 0 to " + std::to_string(kResultSlots));
    }
    nOut = static_cast<int>(asked);
  }
  return nOut;
}

PyObject* callGateway(const zbArray* name, std::string_view label,
                      std::span<PyObject* const> arguments, int nOut) noexcept {
  try {
    return call(name, label, arguments, nOut).release().ptr();
  } catch (...) {
    raiseInPython();
    return nullptr;
  }
}

PyObject* callByName(PyObject* /*module*/, PyObject* const* values, Py_ssize_t count,
                     PyObject* names) noexcept {
  try {
    const int nOut = resultsAskedFor(names, values + count);
    const std::span arguments(values, static_cast<std::size_t>(count));
    if (arguments.empty()) return callGateway(nullptr, "zembra.call", arguments, nOut);
    const Value name = toHost(arguments[0]);
    const std::string label = PyUnicode_Check(arguments[0])
                                  ? std::string(utf8(borrow(arguments[0])).view())
                                  : "zembra.call";
    return callGateway(name.get(), label, arguments.subspan(1), nOut);
  } catch (...) {
    raiseInPython();
    return nullptr;
  }
}

}  // namespace zembra::python
