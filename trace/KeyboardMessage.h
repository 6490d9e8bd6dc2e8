// KeyboardMessage: a key of the logger's remote control.
#pragma once

#include <cstdint>
#include <ostream>

struct KeyboardMessage {
    uint64_t timestamp = 0;
    int32_t keyCode = 0;
    int32_t value = 0;
};

std::ostream& operator<<(std::ostream& os, const KeyboardMessage& msg);
