#include "python/bindings/ToolQueries.h"

#include "decode/FrameTableClaim.h"
#include "decode/LiveValues.h"
#include "decode/SignalSet.h"
#include "decode/TriggerSet.h"
#include "event/EventParser.h"
#include "python/bindings/PythonErrors.h"

#include <pybind11/stl.h>

#include <sstream>

namespace py = pybind11;

namespace rksignal::queries {

namespace {

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> found;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (!line.empty())
            found.push_back(line);
    return found;
}

py::dict inputs(const std::map<int, std::string>& table)
{
    py::dict found;
    for (const auto& [number, name] : table)
        found[py::int_(number)] = name;
    return found;
}

} // namespace

py::list check(const std::vector<std::string>& expressions, const DefinitionSet& definitions)
{
    // The signals go into the process-wide frame tables like a decoder's.
    FrameTableClaim claim;
    if (!claim.take())
        python::raise("Error", FrameTableClaim::refused);
    SignalSet signals;
    std::vector<std::string> problems;
    signals.build(definitions, problems);
    py::list results;
    for (const std::string& expression : expressions) {
        std::string errors;
        const auto parser = TriggerSet::compileOne(expression, false, signals.storage(), errors);
        py::dict result;
        result["expression"] = expression;
        result["ok"] = bool(parser);
        std::vector<std::string> read;
        if (parser)
            for (const BaseSignal* signal : parser->signals)
                read.push_back(signal->def.instance);
        else if (errors.empty())
            errors = "the expression does not compile";
        result["signals"] = read;
        result["errors"] = lines(errors);
        results.append(result);
    }
    return results;
}

py::dict events(const std::string& text)
{
    const EventParser parser(text);
    const eventFlexer& found = parser.scanner;
    py::dict tables;
    tables["allSignals"] = found.allSignals;
    tables["rcKeys"] = found.rcKeys;
    tables["digitalInputs"] = inputs(found.digitalInputs);
    tables["analogInputs"] = inputs(found.analogInputs);
    tables["loggerSignals"] = found.loggerSignals;
    tables["gpsSignals"] = found.gpsSignals;
    tables["canCount"] = found.canCount;
    tables["linCount"] = found.linCount;
    tables["flexRayCount"] = found.flexRayCount;
    tables["rcCount"] = found.rcCount;
    tables["digitalCount"] = found.digitalCount;
    tables["analogCount"] = found.analogCount;
    tables["loggerCount"] = found.loggerCount;
    tables["timerCount"] = found.timerCount;
    tables["gpsCount"] = found.gpsCount;
    tables["miiCount"] = found.miiCount;
    return tables;
}

py::list live(const DefinitionSet& definitions, const std::vector<std::string>& patterns)
{
    // Only the signals asked for are attached: the others' segments are none
    // of the reader's business.
    DefinitionSet wanted = definitions;
    wanted.retainInstances([&](const std::string& instance) { return SignalSet::selected(patterns, instance); });
    if (wanted.size() == 0)
        python::raise("Error", "no signal to read (none defined, or none matches the signals asked for)");
    LiveValues values;
    std::vector<std::string> problems;
    std::string error;
    if (!values.attach(wanted, problems, error))
        python::raise("Error", error);
    py::list rows;
    for (const LiveValue& value : values.read()) {
        py::dict row;
        row["instance"] = std::string(value.instance);
        row["value"] = value.hasValue ? py::object(py::float_(value.value)) : py::none();
        row["unit"] = std::string(value.unit);
        row["description"] = value.hasValue ? value.description : std::string();
        row["state"] = int(value.state); // named on the Python side
        row["timestamp"] = value.hasValue ? py::object(py::int_(value.timestamp)) : py::none();
        rows.append(row);
    }
    return rows;
}

} // namespace rksignal::queries
