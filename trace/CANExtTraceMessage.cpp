#include "trace/CANExtTraceMessage.h"

#include "trace/ByteText.h"

#include <algorithm>

std::ostream& operator<<(std::ostream& os, const CANExtTraceMessage& msg)
{
    const auto flags = os.flags();
    rktrace::printTimestamp(os, msg.timestamp);
    os << std::dec << ",channel=" << unsigned(msg.channel) << ",frameFormat=" << msg.frameFormat
       << ",length=" << unsigned(msg.length) << ",canId=" << std::hex << msg.canId << ",payload=";
    rktrace::printBytes(os, msg.payload, std::min<size_t>(msg.length, sizeof msg.payload));
    os.flags(flags);
    return os;
}
