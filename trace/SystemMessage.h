// SystemMessage: a status message of the logger itself.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>

struct SystemMessage {
    uint64_t timestamp = 0;
    uint32_t code = 0;
    std::string text;

    virtual ~SystemMessage() = default;
};

std::ostream& operator<<(std::ostream& os, const SystemMessage& msg);
