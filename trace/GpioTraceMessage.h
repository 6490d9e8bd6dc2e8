// GpioTraceMessage: levels of the logger's digital inputs.
#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

struct gpioData_t {
    uint16_t input = 0;
    uint8_t reserved[6] = {};
    uint16_t value = 0; // input levels, one bit per line
    uint16_t mask = 0;  // which bits of value are meaningful
};
static_assert(sizeof(gpioData_t) == 12, "gpioData_t is a recorded layout");

struct GpioTraceMessage {
    uint64_t timestamp = 0;
    std::vector<gpioData_t> elements;
};

std::ostream& operator<<(std::ostream& os, const gpioData_t& element);
std::ostream& operator<<(std::ostream& os, const GpioTraceMessage& msg);
