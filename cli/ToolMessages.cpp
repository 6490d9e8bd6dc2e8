#include "cli/ToolMessages.h"

#include "decode/SignalSet.h"
#include "definitions/DefinitionFiles.h"

#include <iostream>

namespace rksignal {

void ToolMessages::error(const std::string& text)
{
    std::cerr << "rksignal: " << text;
    if (text.empty() || text.back() != '\n')
        std::cerr << '\n';
    std::cerr.flush();
}

void ToolMessages::warnings(const std::vector<std::string>& texts)
{
    for (const std::string& text : texts)
        std::cerr << "rksignal: warning: " << text << std::endl;
}

bool ToolMessages::readDefinitions(const std::vector<std::string>& files, DefinitionSet& out)
{
    std::vector<std::string> warnings;
    std::string text;
    if (!DefinitionFiles::read(files, out, warnings, text)) {
        error(text);
        return false;
    }
    ToolMessages::warnings(warnings);
    return true;
}

void ToolMessages::buildSignals(SignalSet& signals, const DefinitionSet& definitions)
{
    std::vector<std::string> problems;
    signals.build(definitions, problems);
    warnings(problems);
}

} // namespace rksignal
