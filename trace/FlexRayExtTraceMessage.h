// FlexRayExtTraceMessage: one received FlexRay frame.
#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

struct FlexRayExtTraceMessage {
    uint64_t timestamp = 0;
    uint8_t frameKind = 0;
    uint8_t channel = 0;
    std::vector<uint8_t> data;    // the frame's data bytes
    uint16_t slot = 0;
    uint8_t cycle = 0;
    std::vector<uint8_t> payload; // the frame's payload as recorded
};

std::ostream& operator<<(std::ostream& os, const FlexRayExtTraceMessage& msg);
