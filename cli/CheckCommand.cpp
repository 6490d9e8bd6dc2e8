#include "cli/CheckCommand.h"

#include "cli/CommandOptions.h"
#include "cli/ToolMessages.h"
#include "decode/SignalSet.h"
#include "decode/TriggerSet.h"

#include <iostream>
#include <sstream>

namespace rksignal {

namespace {

const char* const footer = R"(
Examples:
  rksignal check --defs examples/vehicle.dbc 'VehicleDynamics.VehicleSpeed > 50'
  rksignal check --defs vehicle.dbc 'Doors.DoorFL == 1 && Doors.Locked == 0' 'Speed >'

For each expression: "ok" and the signals it reads, or "error" and the
parser's error lines (a syntax error, a signal the definitions do not hold).

Exit status: 0 every expression compiles, 1 one or more do not, 2 bad
options or definitions.)";

// "ok     EXPR" and "reads A, B", or "error  EXPR" and the parser's lines
// as the library wrote them, indented under the expression.
void report(std::ostream& out, const std::string& expression, const ExpParser* parser, const std::string& errors)
{
    out << (parser ? "ok     " : "error  ") << expression << '\n';
    if (!parser) {
        std::istringstream lines(errors.empty() ? std::string("the expression does not compile") : errors);
        for (std::string line; std::getline(lines, line);)
            if (!line.empty())
                out << "       " << line << '\n';
        return;
    }
    out << "       reads";
    if (parser->signals.empty())
        out << " no signals";
    const char* separator = " ";
    for (const BaseSignal* signal : parser->signals) {
        out << separator << signal->def.instance;
        separator = ", ";
    }
    out << '\n';
}

} // namespace

CLI::App& CheckCommand::add(CLI::App& app)
{
    CLI::App* check = app.add_subcommand("check", "Compile trigger expressions and show the signals they read");
    check->footer(footer);
    CommandOptions::definitionFiles(*check, options_.definitionFiles);
    check->add_option("expressions", options_.expressions,
                      "Expressions over instance names, e.g. 'Engine.Speed > 3000 || Engine.Temp >= 110'")
        ->required()
        ->type_name("EXPR");
    return *check;
}

int CheckCommand::run()
{
    DefinitionSet definitions;
    if (!ToolMessages::readDefinitions(options_.definitionFiles, definitions))
        return 2;
    SignalSet signals;
    ToolMessages::buildSignals(signals, definitions);
    int status = 0;
    for (const std::string& expression : options_.expressions) {
        std::string errors;
        const auto parser = TriggerSet::compileOne(expression, false, signals.storage(), errors);
        if (!parser)
            status = 1;
        report(std::cout, expression, parser.get(), errors);
    }
    std::cout.flush();
    return status;
}

} // namespace rksignal
