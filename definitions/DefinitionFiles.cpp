#include "definitions/DefinitionFiles.h"

#include "definitions/DbcDefinitions.h"
#include "definitions/DbcReader.h"
#include "definitions/JsonDefinitions.h"

#include <iostream>

namespace rksignal {

namespace {

bool endsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// "vehicle.dbc@2" -> ("vehicle.dbc", 2); no "@N" -> channel 1.
bool splitChannel(const std::string& argument, std::string& path, unsigned& channel, std::string& error)
{
    path = argument;
    channel = 1;
    const size_t at = argument.rfind('@');
    if (at == std::string::npos || !endsWith(argument.substr(0, at), ".dbc"))
        return true;
    const std::string number = argument.substr(at + 1);
    if (number.empty() || number.size() > 3 || number.find_first_not_of("0123456789") != std::string::npos ||
        std::stoul(number) > 255) {
        error = argument + ": expected a channel number 0..255 after '@'";
        return false;
    }
    path = argument.substr(0, at);
    channel = unsigned(std::stoul(number));
    return true;
}

} // namespace

bool DefinitionFiles::read(const std::vector<std::string>& files, DefinitionSet& out,
                           std::vector<std::string>& warnings, std::string& error)
{
    for (const std::string& argument : files) {
        std::string path;
        unsigned channel = 1;
        if (!splitChannel(argument, path, channel, error))
            return false;
        if (endsWith(path, ".dbc")) {
            DbcDatabase database;
            if (!DbcReader::readFile(path, database, error))
                return false;
            DbcDefinitions::append(database, uint8_t(channel), out);
            warnings.insert(warnings.end(), database.warnings.begin(), database.warnings.end());
        } else if (endsWith(path, ".json")) {
            DefinitionSet fromJson;
            if (!JsonDefinitions::readFile(path, fromJson, error))
                return false;
            out.append(std::move(fromJson));
        } else {
            error = path + ": unknown definition format (expected a .dbc or .json file)";
            return false;
        }
    }
    return true;
}

bool DefinitionFiles::readAndReport(const std::vector<std::string>& files, DefinitionSet& out)
{
    std::vector<std::string> warnings;
    std::string error;
    if (!read(files, out, warnings, error)) {
        std::cerr << "rksignal: " << error << std::endl;
        return false;
    }
    for (const std::string& warning : warnings)
        std::cerr << "rksignal: warning: " << warning << std::endl;
    return true;
}

} // namespace rksignal
