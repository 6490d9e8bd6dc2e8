// RecordedMessage: one message read from a recording, held in the trace
// class that its decoder takes, and handed to that decoder.
//
// A reader keeps one RecordedMessage and refills it for every message, so
// the byte vectors of each kind keep their capacity and reading allocates
// nothing once they have grown.
//
// Not thread-safe; one per reader.
#pragma once

#include "signal/BaseSignal.h"
#include "trace/AnalogTraceMessage.h"
#include "trace/CANExtTraceMessage.h"
#include "trace/FlexRayExtTraceMessage.h"
#include "trace/GPSTraceMessage.h"
#include "trace/GpioTraceMessage.h"
#include "trace/KeyboardMessage.h"
#include "trace/LINTraceMessage.h"
#include "trace/MIITraceMessage.h"
#include "trace/SystemUsageMessage.h"

#include <cstdint>
#include <vector>

namespace rksignal {

class RecordedMessage {
public:
    enum Kind : uint8_t { Can, Lin, FlexRay, Ethernet, Gps, Gpio, Analog, Keyboard, System, SystemUsage };

    Kind kind = Can;
    // GPIO and analog messages: the channel of the input module, which their
    // signals carry as tslId.
    uint8_t inputModule = 0;

    // Only the member of `kind` is meaningful.
    CANExtTraceMessage can;
    // CAN FD frames: bit-rate switch (1) and error state indicator (2), as
    // candump writes them; kept so that converting a recording keeps them.
    uint8_t canFdFlags = 0;
    LINTraceMessage lin;
    FlexRayExtTraceMessage flexRay;
    MIITraceMessage ethernet;
    GPSTraceMessage gps;
    GpioTraceMessage gpio;
    AnalogTraceMessage analog;
    KeyboardMessage keyboard;
    SystemMessage system;
    SystemUsageMessage usage;

    uint64_t timestamp() const;

    // Passes the message to the library's decoder of its kind (trace source
    // 0); `ids` gets the identifiers written. True when there are any.
    bool decode(std::vector<unsigned long>& ids, SignalStorage& storage) const;
};

} // namespace rksignal
