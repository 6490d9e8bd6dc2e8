#include "trace/EthernetTraceMessage.h"

#include "trace/ByteText.h"

std::ostream& operator<<(std::ostream& os, const EthernetTraceMessage& msg)
{
    const auto flags = os.flags();
    rktrace::printTimestamp(os, msg.timestamp);
    os << ",frame=";
    rktrace::printBytes(os, msg.frame.data(), msg.frame.size());
    os << std::dec << ",channel=" << unsigned(msg.channel) << ",kind=" << msg.kind;
    os.flags(flags);
    return os;
}
