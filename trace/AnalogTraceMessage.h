// AnalogTraceMessage: readings of the logger's analog inputs.
#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

// One reading: mantissa x 10^exponent.
struct analogData_t {
    uint16_t input = 0;
    uint8_t reserved[6] = {};
    int32_t mantissa = 0;
    int8_t exponent = 0;
    uint8_t pad[3] = {};
};
static_assert(sizeof(analogData_t) == 16, "analogData_t is a recorded layout");

struct AnalogTraceMessage {
    uint64_t timestamp = 0;
    std::vector<analogData_t> elements;
};

std::ostream& operator<<(std::ostream& os, const analogData_t& element);
std::ostream& operator<<(std::ostream& os, const AnalogTraceMessage& msg);
