#include "python/bindings/PythonErrors.h"

#include <pybind11/pybind11.h>

namespace py = pybind11;

namespace rksignal::python {

void raise(const char* className, const std::string& message)
{
    py::object errorClass = py::module_::import("rksignal.errors").attr(className);
    py::object error = errorClass(message);
    PyErr_SetObject(errorClass.ptr(), error.ptr());
    throw py::error_already_set();
}

} // namespace rksignal::python
