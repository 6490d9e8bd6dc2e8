#include "trace/ByteText.h"

#include "util/printTime.h"

namespace rktrace {

void printBytes(std::ostream& os, const uint8_t* data, size_t length)
{
    static const char digits[] = "0123456789abcdef";
    for (size_t i = 0; i < length; ++i) {
        if (i != 0)
            os << ' ';
        os << digits[data[i] >> 4] << digits[data[i] & 0x0f];
    }
}

void printTimestamp(std::ostream& os, uint64_t timestamp)
{
    os << "timestamp=";
    printTime(os, timestamp);
}

} // namespace rktrace
