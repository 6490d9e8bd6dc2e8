#include "trace/AnalogTraceMessage.h"

#include "trace/ByteText.h"

#include <cstddef>

static_assert(offsetof(analogData_t, mantissa) == 8, "mantissa at offset 8");
static_assert(offsetof(analogData_t, exponent) == 12, "exponent at offset 12");

std::ostream& operator<<(std::ostream& os, const analogData_t& element)
{
    const auto flags = os.flags();
    os << std::dec << "input=" << element.input << ",mantissa=" << element.mantissa
       << ",exponent=" << int(element.exponent);
    os.flags(flags);
    return os;
}

std::ostream& operator<<(std::ostream& os, const AnalogTraceMessage& msg)
{
    rktrace::printTimestamp(os, msg.timestamp);
    os << ",elements=[";
    for (size_t i = 0; i < msg.elements.size(); ++i)
        os << (i ? ";" : "") << msg.elements[i];
    return os << "]";
}
