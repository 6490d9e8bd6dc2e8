#include "trace/MIITraceMessage.h"

#include "trace/ByteText.h"
#include "util/macaddr_t.h"

#include <arpa/inet.h>
#include <netinet/in.h>

namespace {

void printIp(std::ostream& os, uint32_t networkOrder)
{
    char text[INET_ADDRSTRLEN];
    in_addr address{};
    address.s_addr = networkOrder;
    os << (inet_ntop(AF_INET, &address, text, sizeof text) ? text : "?");
}

} // namespace

std::ostream& operator<<(std::ostream& os, const miiFrameInfo_t& info)
{
    const auto flags = os.flags();
    os << "sourceMac=";
    macaddr_t(info.sourceMac).print(os);
    os << ",destinationMac=";
    macaddr_t(info.destinationMac).print(os);
    os << ",sourceIp=";
    printIp(os, info.sourceIp);
    os << ",destinationIp=";
    printIp(os, info.destinationIp);
    os << std::dec << ",sourcePort=" << info.sourcePort << ",destinationPort=" << info.destinationPort
       << ",ipProtocol=" << unsigned(info.ipProtocol) << ",vlan=" << unsigned(info.vlan)
       << ",vlanId=" << info.vlanId << ",payloadOffset=" << info.payloadOffset;
    os.flags(flags);
    return os;
}

bool MIITraceMessage::analyzeFrame(const unsigned char*, unsigned long, miiFrameInfo_t&)
{
    // Frame analysis is not written yet: no frame is recognised.
    return false;
}

std::ostream& operator<<(std::ostream& os, const MIITraceMessage& msg)
{
    const auto flags = os.flags();
    rktrace::printTimestamp(os, msg.timestamp);
    os << ",frame=";
    rktrace::printBytes(os, msg.frame.data(), msg.frame.size());
    os << std::dec << ",channel=" << unsigned(msg.channel);
    os.flags(flags);
    return os;
}
