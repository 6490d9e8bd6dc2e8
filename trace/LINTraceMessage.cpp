#include "trace/LINTraceMessage.h"

#include "trace/ByteText.h"

std::ostream& operator<<(std::ostream& os, const LINTraceMessage& msg)
{
    const auto flags = os.flags();
    rktrace::printTimestamp(os, msg.timestamp);
    os << ",data=";
    rktrace::printBytes(os, msg.data.data(), msg.data.size());
    os << std::dec << ",channel=" << unsigned(msg.channel) << ",protectedId=" << std::hex
       << unsigned(msg.protectedId);
    os.flags(flags);
    return os;
}
