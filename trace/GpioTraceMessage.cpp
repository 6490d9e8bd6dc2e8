#include "trace/GpioTraceMessage.h"

#include "trace/ByteText.h"

#include <cstddef>

static_assert(offsetof(gpioData_t, value) == 8, "value at offset 8");
static_assert(offsetof(gpioData_t, mask) == 10, "mask at offset 10");

std::ostream& operator<<(std::ostream& os, const gpioData_t& element)
{
    const auto flags = os.flags();
    os << std::dec << "input=" << element.input << std::hex << ",value=" << element.value
       << ",mask=" << element.mask;
    os.flags(flags);
    return os;
}

std::ostream& operator<<(std::ostream& os, const GpioTraceMessage& msg)
{
    rktrace::printTimestamp(os, msg.timestamp);
    os << ",elements=[";
    for (size_t i = 0; i < msg.elements.size(); ++i)
        os << (i ? ";" : "") << msg.elements[i];
    return os << "]";
}
