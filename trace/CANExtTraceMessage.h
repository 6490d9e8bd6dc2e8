// CANExtTraceMessage: one received classic CAN or CAN FD frame.
#pragma once

#include <cstdint>
#include <ostream>

struct CANExtTraceMessage {
    uint64_t timestamp = 0;   // microseconds since 1970-01-01 UTC
    uint8_t channel = 0;
    uint32_t frameFormat = 0; // 0 standard, 1 extended, 2 FD standard, 3 FD extended
    uint8_t length = 0;       // valid payload bytes, 0 to 64
    uint32_t canId = 0;       // identifier without flag bits
    uint8_t payload[64] = {};

    uint8_t getChannel() const { return channel; }
    uint32_t getCanId() const { return canId; }
};

// One line: time, channel, format, length, identifier (hex) and the valid
// payload bytes (at most 64, however large `length` claims to be).
std::ostream& operator<<(std::ostream& os, const CANExtTraceMessage& msg);
