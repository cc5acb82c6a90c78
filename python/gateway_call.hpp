// One call of the gateway from Python, shared by `zembra.call` and the functions
// of `zembra.h5`. Other Python threads run while HDF5 works; one of them at a time
// uses HDF5.
#pragma once

#include <span>
#include <string_view>

#include "python/python.hpp"
#include "python/reference_table.hpp"
#include "runtime/array.hpp"

namespace zembra::python {

/// How many results are asked for unless `nout=` says otherwise.
inline constexpr int kDefaultResults = 5;

/// The value of `nout=`, the one keyword there is; throws what Python shall raise.
/// `names` and `values` are those of a vectorcall, `names` may be null. `label` is the
/// function in messages.
int resultsAskedFor(std::string_view label, PyObject* names, PyObject* const* values);

/// Calls the function that the array `name` names; null and a Python exception
/// when it fails. `label` is the function in messages. Arguments and results are those of
/// the form, without one those of the host.
PyObject* callGateway(const zbArray* name, std::string_view label, const Form* form,
                      std::span<PyObject* const> arguments, int nOut) noexcept;

/// zembra.call(name, *arguments, nout=5), with METH_FASTCALL's arguments.
PyObject* callByName(PyObject* module, PyObject* const* values, Py_ssize_t count,
                     PyObject* names) noexcept;

/// zembra._zembra.ask(name, *arguments): a call on the side, that leaves HDF5's error stack
/// as it is.
PyObject* askByName(PyObject* module, PyObject* const* values, Py_ssize_t count) noexcept;

}  // namespace zembra::python
