// DbcDefinitions: turns the frames and signals of a DBC file into CAN signal
// definitions: instance name "Message.Signal", signal name "Signal".
#pragma once

#include "definitions/DbcDatabase.h"
#include "definitions/DefinitionSet.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rksignal {

class DbcDefinitions {
public:
    // Appends one canSignalDef_t per DBC signal to `out.can`, on `channel`.
    static void append(const DbcDatabase& database, uint8_t channel, DefinitionSet& out);
    // Reads the DBC file at `path` and appends its signals on `channel`;
    // what was read but left out goes to `warnings`. False, with
    // "<path>:<line>: <what>" in `error`, when the file cannot be read.
    static bool readFile(const std::string& path, uint8_t channel, DefinitionSet& out,
                         std::vector<std::string>& warnings, std::string& error);
};

} // namespace rksignal
