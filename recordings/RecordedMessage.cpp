#include "recordings/RecordedMessage.h"

#include "bus/CANSignal.h"
#include "bus/EthernetSignal.h"
#include "bus/FlexRaySignal.h"
#include "bus/LINSignal.h"
#include "input/GPSSignal.h"
#include "input/InputSignal.h"

namespace rksignal {

uint64_t RecordedMessage::timestamp() const
{
    switch (kind) {
    case Can:
        return can.timestamp;
    case Lin:
        return lin.timestamp;
    case FlexRay:
        return flexRay.timestamp;
    case Ethernet:
        return ethernet.timestamp;
    case Gps:
        return gps.timestamp;
    case Gpio:
        return gpio.timestamp;
    case Analog:
        return analog.timestamp;
    case Keyboard:
        return keyboard.timestamp;
    case System:
        return system.timestamp;
    case SystemUsage:
        return usage.timestamp;
    }
    return 0;
}

bool RecordedMessage::decode(std::vector<unsigned long>& ids, SignalStorage& storage) const
{
    switch (kind) {
    case Can:
        return CANSignal::decodeMessage(can, ids, 0, &storage);
    case Lin:
        return LINSignal::decodeMessage(lin, ids, 0, &storage);
    case FlexRay:
        return FlexRaySignal::decodeMessage(flexRay, ids, 0, &storage);
    case Ethernet:
        return EthernetSignal::decodeMessage(ethernet, ids, &storage);
    case Gps:
        return GPSSignal::decodeMessage(gps, ids, &storage);
    case Gpio:
        return InputSignal::decodeMessage(gpio, ids, inputModule, &storage);
    case Analog:
        // The analog decoder works on the class-wide input table only.
        return InputSignal::decodeMessage(analog, ids, inputModule);
    case Keyboard:
        return InputSignal::decodeMessage(keyboard, ids, &storage);
    case System:
        return InputSignal::decodeMessage(system, ids, &storage);
    case SystemUsage:
        return InputSignal::decodeMessage(static_cast<const SystemMessage&>(usage), ids, &storage);
    }
    ids.clear();
    return false;
}

} // namespace rksignal
