#include "definitions/DefinitionFiles.h"

#include "definitions/DbcDefinitions.h"
#include "definitions/JsonDefinitions.h"

#include <cctype>

namespace rksignal {

namespace {

struct DefinitionFormat {
    const char* extension;
    // "FILE@N" gives the file's definitions channel N.
    bool takesChannel;
    bool (*read)(const std::string& path, uint8_t channel, DefinitionSet& out, std::vector<std::string>& warnings,
                 std::string& error);
};

// Extension, channel suffix, reader.
const DefinitionFormat formats[] = {
    {".dbc", true, DbcDefinitions::readFile},
    {".json", false,
     [](const std::string& path, uint8_t, DefinitionSet& out, std::vector<std::string>&, std::string& error) {
         return JsonDefinitions::readFile(path, out, error);
     }},
};

// Case-insensitive: files written on Windows are often named "X.DBC".
bool endsWith(const std::string& text, const std::string& suffix)
{
    if (text.size() < suffix.size())
        return false;
    const size_t start = text.size() - suffix.size();
    for (size_t i = 0; i < suffix.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(text[start + i])) != suffix[i])
            return false;
    return true;
}

const DefinitionFormat* formatOf(const std::string& path)
{
    for (const DefinitionFormat& format : formats)
        if (endsWith(path, format.extension))
            return &format;
    return nullptr;
}

// "vehicle.dbc@2" -> ("vehicle.dbc", 2); no "@N" -> channel 1.
bool splitChannel(const std::string& argument, std::string& path, unsigned& channel, std::string& error)
{
    path = argument;
    channel = 1;
    const size_t at = argument.rfind('@');
    if (at == std::string::npos)
        return true;
    const DefinitionFormat* format = formatOf(argument.substr(0, at));
    if (format == nullptr || !format->takesChannel)
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
        const DefinitionFormat* format = formatOf(path);
        if (format == nullptr) {
            error = path + ": unknown definition format (expected a .dbc or .json file)";
            return false;
        }
        if (!format->read(path, uint8_t(channel), out, warnings, error))
            return false;
    }
    return true;
}

} // namespace rksignal
