#include "input/AnalogSignal.h"

AnalogSignal::AnalogSignal(const inputSignalDef_t& definition, bool shmem, SignalStorage* storage)
    : InputSignal(definition, shmem, storage)
{
    registerOwnKey(analogKind, "AnalogSignal");
}
