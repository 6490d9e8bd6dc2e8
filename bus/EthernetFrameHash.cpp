#include "bus/EthernetFrameHash.h"

#include "bus/EthernetSignal.h"
#include "util/macaddr_t.h"

#include <arpa/inet.h>
#include <netinet/in.h>

namespace {

constexpr uint64_t macMask = 0xffffffffffffULL;

// The golden-ratio combine step on 64-bit words; unsigned arithmetic wraps.
inline uint64_t combine(uint64_t h, uint64_t v)
{
    return h ^ (v + 0x9E3779B9u + (h << 6) + (h >> 2));
}

// One fold for positions and frames, so that the two can never drift apart.
inline uint64_t hashFields(uint64_t channel, uint64_t sourceMac, uint64_t destinationMac, uint64_t sourceIp,
                           uint64_t destinationIp, uint64_t sourcePort, uint64_t destinationPort,
                           uint64_t ipProtocol, uint64_t vlan, uint64_t vlanId)
{
    uint64_t h = 0;
    for (uint64_t v : {channel, sourceMac, destinationMac, sourceIp, destinationIp, sourcePort, destinationPort,
                       ipProtocol, vlan, vlanId})
        h = combine(h, v);
    return h;
}

void printIp(std::ostream& os, uint32_t networkOrder)
{
    in_addr address{};
    address.s_addr = networkOrder;
    const char* text = inet_ntoa(address);
    if (text == nullptr)
        os.setstate(std::ios::badbit);
    else
        os << text;
}

} // namespace

EthernetFrameHash::EthernetFrameHash()
    : channel(0), sourceMac(0), destinationMac(0), sourceIp(0), destinationIp(0), sourcePort(0),
      destinationPort(0), ipProtocol(0), vlan(false), vlanId(0), hash(0)
{
    hashMe();
}

EthernetFrameHash::EthernetFrameHash(const ethernetPosition_t& position, unsigned char channel)
    : EthernetFrameHash()
{
    this->channel = channel;
    copyAddressing(position);
    hashMe();
}

EthernetFrameHash::EthernetFrameHash(const EthernetFrameHash& other)
    : channel(0), sourceMac(other.sourceMac), destinationMac(other.destinationMac), sourceIp(other.sourceIp),
      destinationIp(other.destinationIp), sourcePort(other.sourcePort), destinationPort(other.destinationPort),
      ipProtocol(other.ipProtocol), vlan(other.vlan), vlanId(other.vlanId), hash(0)
{
    hashMe();
}

void EthernetFrameHash::setFrame(const ethernetPosition_t& position, unsigned char channel)
{
    this->channel = channel;
    copyAddressing(position);
    sourceMac &= macMask;
    destinationMac &= macMask;
    hashMe();
}

void EthernetFrameHash::copyAddressing(const ethernetPosition_t& position)
{
    sourceMac = position.sourceMac;
    destinationMac = position.destinationMac;
    sourceIp = position.sourceIp;
    destinationIp = position.destinationIp;
    sourcePort = position.sourcePort;
    destinationPort = position.destinationPort;
    ipProtocol = position.ipProtocol;
    vlan = position.vlan;
    vlanId = position.vlanId;
}

uint32_t EthernetFrameHash::hashMe()
{
    hash = uint32_t(hashFields(channel, sourceMac, destinationMac, sourceIp, destinationIp, sourcePort,
                               destinationPort, ipProtocol, vlan, vlanId));
    return hash;
}

bool EthernetFrameHash::match(const miiFrameInfo_t& frame, unsigned char channel) const
{
    if (this->channel != channel)
        return false;
    if ((sourceMac != 0 && sourceMac != frame.sourceMac) ||
        (destinationMac != 0 && destinationMac != frame.destinationMac) ||
        (sourceIp != 0 && sourceIp != frame.sourceIp) ||
        (destinationIp != 0 && destinationIp != frame.destinationIp) ||
        (sourcePort != 0 && sourcePort != frame.sourcePort) ||
        (destinationPort != 0 && destinationPort != frame.destinationPort))
        return false;
    if (ipProtocol != 0 && ipProtocol != frame.ipProtocol)
        return false;
    if (vlan && frame.vlan == 0)
        return false;
    // The identifier is compared whether or not the frame reports a tag.
    return vlanId == 0 || vlanId == frame.vlanId;
}

uint64_t hashFrame(const miiFrameInfo_t& frame, unsigned char channel)
{
    return hashFields(channel, frame.sourceMac, frame.destinationMac, frame.sourceIp, frame.destinationIp,
                      frame.sourcePort, frame.destinationPort, frame.ipProtocol, frame.vlan != 0, frame.vlanId);
}

void EthernetFrameHash::printAddressing(std::ostream& os, AddressingLabels& labels) const
{
    os << labels[0];
    macaddr_t(sourceMac).print(os);
    os << labels[1];
    macaddr_t(destinationMac).print(os);
    os << labels[2];
    printIp(os, sourceIp);
    os << labels[3];
    printIp(os, destinationIp);
    os << std::dec << labels[4] << sourcePort << labels[5] << destinationPort << labels[6] << ipProtocol
       << std::boolalpha << labels[7] << vlan << labels[8] << vlanId;
}

std::ostream& operator<<(std::ostream& os, const EthernetFrameHash& frameHash)
{
    static EthernetFrameHash::AddressingLabels labels = {"sMAC=", ",dMAC=", ",sIP=", ",dIP=", ",sP=", ",dP=",
                                                         ",ipProto=", ",vlan=", ",vId="};
    frameHash.printAddressing(os, labels);
    return os;
}
