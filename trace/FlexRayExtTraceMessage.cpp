#include "trace/FlexRayExtTraceMessage.h"

#include "trace/ByteText.h"

std::ostream& operator<<(std::ostream& os, const FlexRayExtTraceMessage& msg)
{
    const auto flags = os.flags();
    rktrace::printTimestamp(os, msg.timestamp);
    os << std::dec << ",frameKind=" << unsigned(msg.frameKind) << ",channel=" << unsigned(msg.channel) << ",data=";
    rktrace::printBytes(os, msg.data.data(), msg.data.size());
    os << std::dec << ",slot=" << msg.slot << ",cycle=" << unsigned(msg.cycle) << ",payload=";
    rktrace::printBytes(os, msg.payload.data(), msg.payload.size());
    os.flags(flags);
    return os;
}
