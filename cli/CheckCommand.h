// CheckCommand: `rksignal check`, which compiles trigger expressions against
// the signals of definition files and says, for each, which signals it reads
// or why it does not compile.
#pragma once

#include "cli/Command.h"

#include <string>
#include <vector>

namespace rksignal {

struct CheckOptions {
    std::vector<std::string> definitionFiles; // .dbc[@channel] or .json
    std::vector<std::string> expressions;
};

class CheckCommand : public Command {
public:
    CLI::App& add(CLI::App& app) override;
    // Writes the report to standard output. Exit status: 0 every expression
    // compiles, 1 one or more do not, 2 bad definitions.
    int run() override;

private:
    CheckOptions options_;
};

} // namespace rksignal
