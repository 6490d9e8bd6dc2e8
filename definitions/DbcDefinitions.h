// DbcDefinitions: turns the frames and signals of a DBC file into CAN signal
// definitions: instance name "Message.Signal", signal name "Signal".
#pragma once

#include "definitions/DbcDatabase.h"
#include "definitions/DefinitionSet.h"

#include <cstdint>

namespace rksignal {

class DbcDefinitions {
public:
    // Appends one canSignalDef_t per DBC signal to `out.can`, on `channel`.
    static void append(const DbcDatabase& database, uint8_t channel, DefinitionSet& out);
};

} // namespace rksignal
