// CommandOptions: the options several commands share, spelled the same way
// everywhere.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace rksignal {

class CommandOptions {
public:
    // A repeatable option taking one value per occurrence: --defs A --defs B.
    static CLI::Option* repeatable(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                                   const std::string& help, const std::string& typeName);
    // The required, repeatable --defs FILE.
    static CLI::Option* definitionFiles(CLI::App& command, std::vector<std::string>& files);
};

} // namespace rksignal
