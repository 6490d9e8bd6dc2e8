// LINTraceMessage: one received LIN frame.
#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

struct LINTraceMessage {
    uint64_t timestamp = 0;
    std::vector<uint8_t> data;
    uint8_t channel = 0;
    uint8_t protectedId = 0; // identifier with its two parity bits (bits 6, 7)
};

std::ostream& operator<<(std::ostream& os, const LINTraceMessage& msg);
