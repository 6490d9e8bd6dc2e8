#include "recordings/EthernetFrameEnd.h"

namespace rksignal {

namespace {

constexpr uint32_t macHeaderBytes = 14, vlanTagBytes = 4, udpHeaderBytes = 8, ipv4MinimumHeader = 20;
constexpr uint16_t ipv4Type = 0x0800, vlanType = 0x8100, providerVlanType = 0x88a8;
constexpr uint8_t udpProtocol = 17;
constexpr uint16_t fragmentOffsetMask = 0x1fff;

uint16_t be16(const unsigned char* p)
{
    return uint16_t(unsigned(p[0]) << 8 | p[1]);
}

} // namespace

uint32_t EthernetFrameEnd::of(const unsigned char* frame, uint32_t length)
{
    uint32_t at = macHeaderBytes - 2; // the type field
    for (int tags = 0; tags < 2 && at + 2 <= length; ++tags) {
        const uint16_t type = be16(frame + at);
        if (type != vlanType && type != providerVlanType)
            break;
        at += vlanTagBytes;
    }
    if (at + 2 > length || be16(frame + at) != ipv4Type)
        return length;
    const uint32_t ip = at + 2;
    if (ip + ipv4MinimumHeader > length || frame[ip] >> 4 != 4)
        return length;
    const uint32_t headerBytes = (frame[ip] & 0x0fu) * 4u, totalLength = be16(frame + ip + 2);
    if (headerBytes < ipv4MinimumHeader || totalLength < headerBytes || ip + totalLength > length)
        return length;
    const uint32_t datagramEnd = ip + totalLength;
    const bool firstFragment = (be16(frame + ip + 6) & fragmentOffsetMask) == 0;
    const uint32_t udp = ip + headerBytes;
    if (frame[ip + 9] != udpProtocol || !firstFragment || udp + udpHeaderBytes > datagramEnd)
        return datagramEnd;
    const uint32_t udpLength = be16(frame + udp + 4);
    if (udpLength < udpHeaderBytes || udp + udpLength > datagramEnd)
        return datagramEnd;
    return udp + udpLength;
}

} // namespace rksignal
