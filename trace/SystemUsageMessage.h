// SystemUsageMessage: the logger's memory usage report (system message code 2).
#pragma once

#include "trace/SystemMessage.h"

#include <cstdint>
#include <ostream>

struct SystemUsageMessage : SystemMessage {
    uint8_t internalUsage = 0;
    uint8_t externalUsage = 0;
    uint8_t externalUsage2 = 0;

    SystemUsageMessage() { code = 2; }
};

std::ostream& operator<<(std::ostream& os, const SystemUsageMessage& msg);
