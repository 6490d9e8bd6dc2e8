// PythonErrors: raises the package's own exception classes (rksignal.errors)
// from the binding, so that Python code catches DefinitionError,
// RecordingError and ExpressionError by name.
#pragma once

#include <string>

namespace rksignal::python {

// Throws pybind11::error_already_set with an instance of
// rksignal.errors.<className>(message) set as the Python error.
[[noreturn]] void raise(const char* className, const std::string& message);

} // namespace rksignal::python
