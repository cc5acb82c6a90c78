#include "python/sparse_matrix.hpp"

#include "python/loaded_module.hpp"

namespace zembra::python {

py::object denseOf(PyObject* object) {
  const py::object sparse = loadedModule("scipy.sparse");
  if (!sparse || !sparse.attr("issparse")(py::handle(object)).cast<bool>()) return {};
  return steal(PyObject_CallMethod(object, "toarray", nullptr));
}

}  // namespace zembra::python
