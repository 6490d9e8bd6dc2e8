#include "python/bindings/LibraryMessages.h"

#include <pybind11/pybind11.h>

#include <iostream>

namespace py = pybind11;

namespace rksignal {

std::ostream& LibraryMessages::stream(MessageStream) { return std::cerr; }

void LibraryMessages::fatal(int status, const std::string& text)
{
    throw LibraryFault(text + " (status " + std::to_string(status) + ")");
}

void LibraryMessages::install()
{
    static LibraryMessages sink;
    MessageSink::install(&sink);
    py::register_exception_translator([](std::exception_ptr fault) {
        try {
            if (fault)
                std::rethrow_exception(fault);
        } catch (const LibraryFault& error) {
            py::object errorClass = py::module_::import("rksignal.errors").attr("Error");
            PyErr_SetObject(errorClass.ptr(), errorClass(error.what()).ptr());
        }
    });
}

} // namespace rksignal
