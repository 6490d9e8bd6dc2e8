// AnalogSignal: an analog input of the logger.
//
// Filed under analog kind + (module channel << 16) + input number, taken from
// the definition's tslId and channel. A reading is mantissa x 10^exponent:
// unsigned and signed signals receive the mantissa, float signals (startbit
// 0, 32 bits) and double signals (64 bits) the scaled reading; scaling to a
// physical value comes from the definition. Thread safety as InputSignal.
#pragma once

#include "input/InputSignal.h"

class AnalogSignal : public InputSignal {
public:
    AnalogSignal(const inputSignalDef_t& definition, bool shmem = false, SignalStorage* storage = nullptr);
};
