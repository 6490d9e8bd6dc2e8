// The extension module rksignal._rksignal: definitions, decoding runs and
// the check, events and live queries. The package rksignal wraps it in pandas.
#include "definitions/DefinitionFiles.h"
#include "python/bindings/DecodeRun.h"
#include "python/bindings/ToolQueries.h"
#include "python/bindings/LibraryMessages.h"
#include "python/bindings/PythonErrors.h"

#include <pybind11/stl.h>

#include <memory>

namespace py = pybind11;
using namespace rksignal;

namespace {

// Definitions read once and shared by every run that uses them. Pickled as
// their file names: a process that unpickles them reads the files again.
struct Definitions {
    std::vector<std::string> files;
    std::vector<std::string> warnings;
    DefinitionSet set;
};

std::shared_ptr<Definitions> readDefinitions(const std::vector<std::string>& files)
{
    auto definitions = std::make_shared<Definitions>();
    definitions->files = files;
    std::string error;
    if (!DefinitionFiles::read(files, definitions->set, definitions->warnings, error))
        python::raise("DefinitionError", error);
    return definitions;
}

std::unique_ptr<DecodeRun> startRun(const std::vector<std::string>& recordings, const Definitions& definitions,
                                    const std::vector<std::string>& signals, bool allWrites,
                                    const std::vector<std::string>& triggers, bool edge,
                                    const std::vector<std::string>& channels, unsigned long timeoutMs)
{
    DecodeOptions options;
    options.recordings = recordings;
    options.signalPatterns = signals;
    options.allWrites = allWrites;
    options.triggers = triggers;
    options.edge = edge;
    options.channelMaps = channels;
    options.timeoutMs = timeoutMs;
    return std::make_unique<DecodeRun>(std::move(options), definitions.set);
}

} // namespace

PYBIND11_MODULE(_rksignal, module)
{
    module.doc() = "Decoding of vehicle recordings into columns (the C++ side of the rksignal package)";
    LibraryMessages::install();

    py::class_<Definitions, std::shared_ptr<Definitions>>(module, "Definitions")
        .def(py::init(&readDefinitions), py::arg("files"))
        .def_readonly("files", &Definitions::files)
        .def_readonly("warnings", &Definitions::warnings)
        .def("__len__", [](const Definitions& definitions) { return definitions.set.size(); })
        .def("__repr__",
             [](const Definitions& definitions) {
                 return "<rksignal.Definitions " + std::to_string(definitions.set.size()) + " signals>";
             })
        .def(py::pickle([](const Definitions& definitions) { return py::make_tuple(definitions.files); },
                        [](const py::tuple& state) { return readDefinitions(state[0].cast<std::vector<std::string>>()); }));

    py::class_<DecodeRun>(module, "DecodeRun")
        .def(py::init(&startRun), py::arg("recordings"), py::arg("definitions"), py::arg("signals"),
             py::arg("all"), py::arg("triggers"), py::arg("edge"), py::arg("channels"), py::arg("timeout_ms"))
        .def("read", &DecodeRun::read, py::arg("max_rows"))
        .def("count", &DecodeRun::count)
        .def("write", &DecodeRun::write, py::arg("path"), py::arg("format"))
        .def("summary", &DecodeRun::summary)
        .def("close", &DecodeRun::close);

    module.def("check", [](const std::vector<std::string>& expressions, const Definitions& definitions) {
        return queries::check(expressions, definitions.set);
    });
    module.def("events", &queries::events);
    module.def("live", [](const Definitions& definitions, const std::vector<std::string>& patterns) {
        return queries::live(definitions.set, patterns);
    });
}
