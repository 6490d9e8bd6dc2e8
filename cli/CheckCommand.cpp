#include "cli/CheckCommand.h"

#include "decode/SignalSet.h"
#include "decode/TriggerSet.h"
#include "definitions/DefinitionFiles.h"

#include <iostream>
#include <sstream>

namespace rksignal {

namespace {

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

int CheckCommand::run(const CheckOptions& options)
{
    DefinitionSet definitions;
    if (!DefinitionFiles::readAndReport(options.definitionFiles, definitions))
        return 2;
    SignalSet signals;
    signals.buildAndReport(definitions);
    int status = 0;
    for (const std::string& expression : options.expressions) {
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
