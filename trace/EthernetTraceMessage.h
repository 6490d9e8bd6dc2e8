// EthernetTraceMessage: one Ethernet frame recorded by the logger's switch.
#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

struct EthernetTraceMessage {
    uint64_t timestamp = 0;
    std::vector<uint8_t> frame;
    uint8_t channel = 0;
    int32_t kind = 0;
};

std::ostream& operator<<(std::ostream& os, const EthernetTraceMessage& msg);
