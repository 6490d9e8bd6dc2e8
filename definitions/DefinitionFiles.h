// DefinitionFiles: reads the tool's definition files into one DefinitionSet.
// A ".dbc" file holds CAN frames (its signals go on channel 1, or on channel
// N when the name is followed by "@N"); a ".json" file holds definitions of
// every kind (docs/definitions.md).
#pragma once

#include "definitions/DefinitionSet.h"

#include <string>
#include <vector>

namespace rksignal {

class DefinitionFiles {
public:
    // False, with "<file>:<line>: <what>" or "<file>: <path>: <what>" in
    // `error`, at the first file that cannot be read. What was read but left
    // out is appended to `warnings`.
    static bool read(const std::vector<std::string>& files, DefinitionSet& out, std::vector<std::string>& warnings,
                     std::string& error);
    // As read, for a command of the tool: the error, or else each warning,
    // goes to standard error as an "rksignal: " line.
    static bool readAndReport(const std::vector<std::string>& files, DefinitionSet& out);
};

} // namespace rksignal
