// DigitalSignal: a digital (GPIO) input of the logger.
//
// Filed under digital kind + (module channel << 16) + input number, taken
// from the definition's tslId and channel; GPIO messages write value AND mask
// of their first element, of which startbit and bits select this input's
// part. Thread safety as InputSignal.
#pragma once

#include "input/InputSignal.h"

class DigitalSignal : public InputSignal {
public:
    DigitalSignal(const inputSignalDef_t& definition, bool shmem = false, SignalStorage* storage = nullptr);
};
