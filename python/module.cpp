// The extension module zembra._zembra: what the package needs from C++.
#include <hdf5/compat.hpp>

#include "python/gateway_call.hpp"
#include "python/gateway_function.hpp"
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
     "result, its one result, or a tuple of those stored, `nout` at most. The\n"
     "interpreter's lock is held until the call returns."},
    {nullptr, nullptr, 0, nullptr}};

/// What each type of identifier is called and closed by; the numbers of the types
/// differ between HDF5's releases.
dict identifierTypes() {
  dict types;
  const auto add = [&types](H5I_type_t type, const char* name, const char* close) {
    types[host::py::int_(static_cast<int>(type))] = host::py::make_tuple(name, close);
  };
  add(H5I_FILE, "file", "H5Fclose");
  add(H5I_GROUP, "group", "H5Gclose");
  add(H5I_DATATYPE, "datatype", "H5Tclose");
  add(H5I_DATASPACE, "dataspace", "H5Sclose");
  add(H5I_DATASET, "dataset", "H5Dclose");
  add(H5I_ATTR, "attribute", "H5Aclose");
  add(H5I_GENPROP_LST, "property list", "H5Pclose");
  add(H5I_GENPROP_CLS, "property list class", "H5Pclose_class");
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
  module.attr("identifier_types") = identifierTypes();
}
