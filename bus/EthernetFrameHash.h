// EthernetFrameHash: the kind of frame an Ethernet signal position is bound
// to, as a value: a logger channel and the addressing fields (MACs, IPv4
// addresses, ports, IP protocol, VLAN), each but the channel a wildcard when
// 0 (false for the VLAN flag). It answers whether an analysed frame falls
// under it, and keeps a hash of its fields; `hashFrame` gives the same hash
// for a concrete frame, which the decoder uses as its per-frame cache key.
//
// Thread safety: a plain value; concurrent const use is safe, mutation is not.
#pragma once

#include "trace/MIITraceMessage.h"

#include <cstdint>
#include <ostream>

struct ethernetPosition_t;

class EthernetFrameHash {
public:
    // Every field 0 / false.
    EthernetFrameHash();
    // Takes the position's nine addressing fields unchanged, MAC bits above
    // 47 included (such a position never matches a real frame).
    EthernetFrameHash(const ethernetPosition_t& position, unsigned char channel);
    // Copies the addressing fields but not the channel, which stays 0: a
    // caller that copies sets the channel itself through setFrame.
    EthernetFrameHash(const EthernetFrameHash& other);
    EthernetFrameHash& operator=(const EthernetFrameHash& other) = default;
    ~EthernetFrameHash() = default;

    // As the position constructor, with both MAC words cut to 48 bits.
    void setFrame(const ethernetPosition_t& position, unsigned char channel);
    // Recomputes `hash` from the fields and returns it.
    uint32_t hashMe();
    // Whether `frame`, seen on `channel`, falls under this position.
    bool match(const miiFrameInfo_t& frame, unsigned char channel) const;

    // Labels of the nine addressing fields, in field order.
    using AddressingLabels = const char* const[9];
    // Writes each addressing field after its label: MACs as six octets, IP
    // addresses as dotted quads through inet_ntoa (no text sets the stream's
    // bad bit), the rest as decimals and true/false (boolalpha is left set).
    // Serves this class's print form and the position's.
    void printAddressing(std::ostream& os, AddressingLabels& labels) const;

    uint8_t channel;
    uint64_t sourceMac;
    uint64_t destinationMac;
    uint32_t sourceIp;      // network byte order, as inet_ntoa takes it
    uint32_t destinationIp;
    uint16_t sourcePort;
    uint16_t destinationPort;
    uint16_t ipProtocol;    // wider than the frame's 8-bit field: above 255 never matches
    bool vlan;              // the frame must carry a VLAN tag
    uint16_t vlanId;
    uint32_t hash;          // low 32 bits of the fields' hash, kept by hashMe

private:
    void copyAddressing(const ethernetPosition_t& position);
};

// The 64-bit hash of an analysed frame on `channel`. Its low 32 bits equal
// the `hash` of a position holding exactly the frame's fields; a position
// with wildcards hashes differently from the frames it matches.
uint64_t hashFrame(const miiFrameInfo_t& frame, unsigned char channel);

// "sMAC=..,dMAC=..,sIP=..,dIP=..,sP=..,dP=..,ipProto=..,vlan=..,vId=.."; the
// channel and the hash are not printed; boolalpha is left set.
std::ostream& operator<<(std::ostream& os, const EthernetFrameHash& frameHash);
