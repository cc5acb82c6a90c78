#include "python/package_classes.hpp"

#include <memory>

namespace zembra::python {
namespace {

PackageClasses load() {
  const py::module_ errors = py::module_::import("zembra._errors");
  return {py::module_::import("zembra._id").attr("Id"), errors.attr("Error"),
          errors.attr("library_error"), errors.attr("GatewayWarning"), errors.attr("ErrorRecord")};
}

}  // namespace

const PackageClasses& PackageClasses::get() {
  // Never destroyed: static destructors run after the interpreter's end.
  static const PackageClasses& classes = *std::make_unique<PackageClasses>(load()).release();
  return classes;
}

}  // namespace zembra::python
