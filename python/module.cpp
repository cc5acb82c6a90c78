// The extension module zembra._zembra: what the package needs from C++.
#include "hdf5/identifier_codec.hpp"
#include "python/gateway_call.hpp"
#include "python/gateway_function.hpp"
#include "python/library_lock.hpp"
#define ZEMBRA_IMPORTS_NUMPY
#include "python/numpy.hpp"
#include "python/package_classes.hpp"
#include "python/warnings.hpp"
#include "runtime/gateway_loader.hpp"

namespace {

namespace host = zembra::python;
using host::py::dict;

PyMethodDef methods[] = {
    {"call", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(host::callByName)),
     METH_FASTCALL | METH_KEYWORDS,
     "call(name, *arguments, nout=5)\n--\n\n"
     "Calls the gateway function `name`. Gives None when the function stores no\n"
     "result, its one result, or a tuple of those stored, `nout` at most. Other\n"
     "threads run meanwhile; calls of several threads take turns."},
    {"ask", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(host::askByName)),
     METH_FASTCALL,
     "ask(name, *arguments)\n--\n\n"
     "As call(), but HDF5's error stack stays as it is, and failures have no notes."},
    {nullptr, nullptr, 0, nullptr}};

/// An identifier as HDF5 has it, as scripts see it.
double encodeIdentifier(hid_t id) { return hdf5::identifierToHost(id); }

/// What each type of identifier is called and closed by: scripts see 1.8's numbers of the
/// types on every release.
dict identifierTypes() {
  dict types;
  const auto add = [&types](int type, const char* name, const char* close) {
    types[host::py::int_(type)] = host::py::make_tuple(name, close);
  };
  add(1, "file", "H5Fclose");
  add(2, "group", "H5Gclose");
  add(3, "datatype", "H5Tclose");
  add(4, "dataspace", "H5Sclose");
  add(5, "dataset", "H5Dclose");
  add(6, "attribute", "H5Aclose");
  add(9, "property list class", "H5Pclose_class");
  add(10, "property list", "H5Pclose");
  return types;
}

int importNumpy() {
  import_array1(-1);
  return 0;
}

}  // namespace

PYBIND11_MODULE(_zembra, module) {
  module.doc() = "The embedded Zembra host. Use the package zembra.";
  if (importNumpy() != 0) throw host::py::error_already_set();
  host::PackageClasses::get();
  zembra::loadGateway();
  host::routeWarnings();
  if (PyModule_AddFunctions(module.ptr(), methods) != 0) throw host::py::error_already_set();
  module.attr("Function") = host::makeFunctionType();
  host::addLibraryLock(module);
  module.attr("identifier_types") = identifierTypes();
  module.def("encode_identifier", encodeIdentifier);
}
