// The classes that the package itself defines in Python and that the extension
// module creates or recognises.
#pragma once

#include "python/python.hpp"

namespace zembra::python {

struct PackageClasses {
  py::object id;              // zembra.Id
  py::object error;           // zembra.Error
  py::object libraryError;    // makes a zembra.LibraryError, or the class of it that fits
  py::object gatewayWarning;  // zembra.GatewayWarning
  py::object errorRecord;     // zembra.ErrorRecord

  /// Loaded once, when the module is; the interpreter keeps them to its end.
  static const PackageClasses& get();
};

}  // namespace zembra::python
