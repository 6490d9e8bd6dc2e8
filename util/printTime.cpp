#include "util/printTime.h"

#include <cstdio>
#include <ctime>

void printTime(std::ostream& os, uint64_t microseconds)
{
    const uint64_t seconds = microseconds / 1000000u;
    const unsigned fraction = static_cast<unsigned>(microseconds % 1000000u);

    std::tm parts{};
    const std::time_t t = static_cast<std::time_t>(seconds);
    char text[64];
    if (gmtime_r(&t, &parts) == nullptr) {
        // Beyond what the C library can break down (years past 2^31): print
        // the raw seconds rather than nothing.
        std::snprintf(text, sizeof text, "%llu.%06u", static_cast<unsigned long long>(seconds), fraction);
    } else {
        std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%06u", parts.tm_year + 1900,
                      parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, fraction);
    }
    os << text;
}
