#include "input/DigitalSignal.h"

DigitalSignal::DigitalSignal(const inputSignalDef_t& definition, bool shmem, SignalStorage* storage)
    : InputSignal(definition, shmem, storage)
{
    registerOwnKey(digitalKind, "DigitalSignal");
}
