#include "cli/CommandOptions.h"

namespace rksignal {

CLI::Option* CommandOptions::repeatable(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                                        const std::string& help, const std::string& typeName)
{
    return command.add_option(name, values, help)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->type_name(typeName);
}

CLI::Option* CommandOptions::definitionFiles(CLI::App& command, std::vector<std::string>& files)
{
    return repeatable(command, "--defs", files,
                      "Definition file: FILE.dbc[@CHANNEL] or FILE.json (repeatable), e.g. --defs vehicle.dbc", "FILE")
        ->required();
}

} // namespace rksignal
