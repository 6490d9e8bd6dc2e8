#include "trace/MIITraceMessage.h"

#include "trace/ByteText.h"
#include "util/macaddr_t.h"

#include <arpa/inet.h>
#include <cstring>
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

namespace {

constexpr unsigned long macBytes = 6;
constexpr unsigned long etherTypeAt = 2 * macBytes;
constexpr unsigned long vlanTagBytes = 4;   // TPID (where the EtherType would be) and TCI
constexpr int maxVlanTags = 2;              // a service tag and a customer tag at most
constexpr uint16_t etherTypeIpv4 = 0x0800;
constexpr uint16_t tpidCustomerTag = 0x8100; // 802.1Q
constexpr uint16_t tpidServiceTag = 0x88a8;  // 802.1ad
constexpr uint16_t vlanIdMask = 0x0fff;
constexpr unsigned long ipv4MinHeaderBytes = 20;
constexpr uint16_t fragmentOffsetMask = 0x1fff;
constexpr uint8_t protocolTcp = 6;
constexpr uint8_t protocolUdp = 17;
constexpr unsigned long udpHeaderBytes = 8;
constexpr unsigned long tcpMinHeaderBytes = 20;

uint16_t be16(const unsigned char* p)
{
    return uint16_t(unsigned(p[0]) << 8 | p[1]);
}

uint64_t macAt(const unsigned char* p)
{
    uint64_t word = 0;
    for (unsigned long i = 0; i < macBytes; ++i)
        word = word << 8 | p[i];
    return word;
}

bool isVlanTag(uint16_t type)
{
    return type == tpidCustomerTag || type == tpidServiceTag;
}

// Every reader below checks `length - offset` (offset never exceeds length)
// before it touches a byte, so no header field can lead past the frame.

// The transport header at `offset`; fills the ports and the payload offset.
bool analyzeTransport(const unsigned char* data, unsigned long length, unsigned long offset, miiFrameInfo_t& info)
{
    const unsigned long available = length - offset;
    unsigned long headerBytes = udpHeaderBytes;
    if (info.ipProtocol == protocolTcp) {
        if (available < tcpMinHeaderBytes)
            return false;
        // Data offset in 32-bit words, options included.
        headerBytes = 4ul * (data[offset + 12] >> 4);
        if (headerBytes < tcpMinHeaderBytes)
            return false;
    }
    if (available < headerBytes)
        return false;
    info.sourcePort = be16(data + offset);
    info.destinationPort = be16(data + offset + 2);
    info.payloadOffset = uint16_t(offset + headerBytes);
    return true;
}

bool analyzeIpv4(const unsigned char* data, unsigned long length, unsigned long offset, miiFrameInfo_t& info)
{
    if (length - offset < ipv4MinHeaderBytes)
        return false;
    const unsigned char* ip = data + offset;
    const unsigned long headerBytes = 4ul * (ip[0] & 0x0fu); // IHL, options included
    if (ip[0] >> 4 != 4 || headerBytes < ipv4MinHeaderBytes || length - offset < headerBytes)
        return false;
    info.ipProtocol = ip[9];
    if (info.ipProtocol != protocolUdp && info.ipProtocol != protocolTcp)
        return false;
    // Kept as they lie on the wire: network byte order.
    std::memcpy(&info.sourceIp, ip + 12, sizeof info.sourceIp);
    std::memcpy(&info.destinationIp, ip + 16, sizeof info.destinationIp);
    offset += headerBytes;
    // Only the first fragment carries the transport header; the others are
    // reported with ports 0 and their data straight after the IP header.
    if ((be16(ip + 6) & fragmentOffsetMask) != 0) {
        info.payloadOffset = uint16_t(offset);
        return true;
    }
    return analyzeTransport(data, length, offset, info);
}

} // namespace

bool MIITraceMessage::analyzeFrame(const unsigned char* data, unsigned long length, miiFrameInfo_t& info)
{
    if (data == nullptr || length < etherTypeAt + 2)
        return false;
    info.destinationMac = macAt(data);
    info.sourceMac = macAt(data + macBytes);

    unsigned long offset = etherTypeAt;
    uint16_t type = be16(data + offset);
    for (int tags = 0; tags < maxVlanTags && isVlanTag(type); ++tags) {
        // The tag's TCI and the EtherType (or TPID) behind it.
        if (length - offset < vlanTagBytes + 2)
            return false;
        if (tags == 0) {
            info.vlan = 1;
            info.vlanId = be16(data + offset + 2) & vlanIdMask;
        }
        offset += vlanTagBytes;
        type = be16(data + offset);
    }
    if (type != etherTypeIpv4)
        return false;
    return analyzeIpv4(data, length, offset + 2, info);
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
