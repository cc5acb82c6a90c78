#include "python/gateway_function.hpp"

#include <structmember.h>

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

#include "python/gateway_call.hpp"
#include "python/raise_in_python.hpp"
#include "python/reference_table.hpp"
#include "python/to_host.hpp"

namespace zembra::python {
namespace {

struct FunctionObject {
  PyObject ob_base;
  vectorcallfunc vectorcall;
  PyObject* name;  // a str
  zbArray* array;  // the same for the gateway, converted once
  std::span<const Form> forms;
};

FunctionObject* asFunction(PyObject* self) { return reinterpret_cast<FunctionObject*>(self); }

std::string_view label(const FunctionObject* function) {
  return {static_cast<const char*>(function->array->data), function->array->elements};
}

PyObject* call(PyObject* self, PyObject* const* values, std::size_t countAndFlag, PyObject* names) {
  const FunctionObject* const function = asFunction(self);
  const auto count = static_cast<std::size_t>(PyVectorcall_NARGS(countAndFlag));
  int nOut = kDefaultResults;
  if (names != nullptr) {
    try {
      nOut = resultsAskedFor(label(function), names, values + count);
    } catch (...) {
      raiseInPython();
      return nullptr;
    }
  }
  const Form* const form = formFor(function->forms, count);
  return callGateway(function->array, label(function), form, {values, count}, nOut);
}

PyObject* create(PyTypeObject* type, PyObject* arguments, PyObject* keywords) {
  PyObject* name = nullptr;
  std::array keywordNames{const_cast<char*>("name"), static_cast<char*>(nullptr)};
  if (PyArg_ParseTupleAndKeywords(arguments, keywords, "U:Function", keywordNames.data(), &name) ==
      0) {
    return nullptr;
  }
  try {
    Value array = toHost(name);
    const py::object self = steal(type->tp_alloc(type, 0));
    FunctionObject* const function = asFunction(self.ptr());
    function->vectorcall = call;
    function->name = Py_NewRef(name);
    function->array = array.release();
    function->forms = formsOf(label(function));
    return Py_NewRef(self.ptr());
  } catch (...) {
    raiseInPython();
    return nullptr;
  }
}

void destroy(PyObject* self) {
  PyTypeObject* const type = Py_TYPE(self);
  FunctionObject* const function = asFunction(self);
  Py_XDECREF(function->name);
  zbDestroyArray(function->array);
  type->tp_free(self);
  Py_DECREF(type);
}

PyObject* represent(PyObject* self) {
  return PyUnicode_FromFormat("<gateway function %U>", asFunction(self)->name);
}

/// Found on an instance or a class, a function is itself: it binds nothing.
PyObject* bind(PyObject* self, PyObject* /*instance*/, PyObject* /*type*/) {
  return Py_NewRef(self);
}

/// Documentation lives in the package and is read when somebody asks for it.
PyObject* describe(PyObject* self, void* aspect) {
  try {
    const py::module_ reference = py::module_::import("zembra._reference");
    const py::object entry = reference.attr(static_cast<const char*>(aspect));
    return entry(py::handle(asFunction(self)->name)).release().ptr();
  } catch (...) {
    raiseInPython();
    return nullptr;
  }
}

PyMemberDef members[] = {
    {"__vectorcalloffset__", T_PYSSIZET, offsetof(FunctionObject, vectorcall), READONLY, nullptr},
    {"__name__", T_OBJECT_EX, offsetof(FunctionObject, name), READONLY, nullptr},
    {"__qualname__", T_OBJECT_EX, offsetof(FunctionObject, name), READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr}};

/// Pickled by name, as Python's own functions are.
PyObject* reduce(PyObject* self, PyObject* /*unused*/) { return Py_NewRef(asFunction(self)->name); }

PyMethodDef methods[] = {{"__reduce__", reduce, METH_NOARGS, "The name that it is pickled by."},
                         {nullptr, nullptr, 0, nullptr}};

PyObject* moduleOf(PyObject* /*self*/, void* /*unused*/) {
  return PyUnicode_FromString("zembra.h5");
}

PyGetSetDef properties[] = {
    {"__module__", moduleOf, nullptr, nullptr, nullptr},
    {"__doc__", describe, nullptr, nullptr, const_cast<char*>("docstring")},
    {"__signature__", describe, nullptr, nullptr, const_cast<char*>("signature")},
    {nullptr, nullptr, nullptr, nullptr, nullptr}};

template <class Pointer>
PyType_Slot slot(int number, Pointer pointer) {
  return {number, reinterpret_cast<void*>(pointer)};
}

}  // namespace

py::object makeFunctionType() {
  std::array slots{slot(Py_tp_new, create),
                   slot(Py_tp_dealloc, destroy),
                   slot(Py_tp_call, PyVectorcall_Call),
                   slot(Py_tp_repr, represent),
                   slot(Py_tp_descr_get, bind),
                   slot(Py_tp_members, members),
                   slot(Py_tp_methods, methods),
                   slot(Py_tp_getset, properties),
                   PyType_Slot{0, nullptr}};
  PyType_Spec spec{"zembra.h5.Function", sizeof(FunctionObject), 0,
                   Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_VECTORCALL | Py_TPFLAGS_IMMUTABLETYPE,
                   slots.data()};
  return steal(PyType_FromSpec(&spec));
}

}  // namespace zembra::python
