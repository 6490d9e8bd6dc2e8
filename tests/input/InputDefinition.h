// Definitions for the input signal tests.
#pragma once

#include "input/InputSignal.h"
#include "support/SignalTestSupport.h"

#include <string>

inline inputSignalDef_t inputDef(const std::string& instance, uint8_t bits = 8, signalValue_t type = SIGNAL_UNSIGNED,
                                 uint8_t tslId = 0, uint8_t channel = 0, uint16_t startbit = 0)
{
    auto def = definitionOf<inputSignalDef_t>(instance, bits, startbit);
    def.type = type, def.tslId = tslId, def.channel = channel;
    return def;
}
