// MIITraceMessage: one Ethernet frame as recorded at the media-independent
// interface, and the record its analysis fills.
#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

struct miiFrameInfo_t {
    uint64_t sourceMac = 0, destinationMac = 0; // wire bytes, big-endian, low 48 bits
    uint32_t sourceIp = 0, destinationIp = 0;   // network byte order (as inet_ntoa takes them)
    uint16_t sourcePort = 0, destinationPort = 0;
    uint8_t ipProtocol = 0;
    uint8_t vlan = 0;        // 1 when the frame carries a VLAN tag
    uint16_t vlanId = 0;     // identifier of the first tag
    uint16_t payloadOffset = 0; // first byte after the UDP/TCP header
};

std::ostream& operator<<(std::ostream& os, const miiFrameInfo_t& info);

struct MIITraceMessage {
    uint64_t timestamp = 0;
    std::vector<uint8_t> frame;
    uint8_t channel = 0;

    // Fills `info` from an Ethernet II frame with up to two VLAN tags (the
    // first tag's id is reported) carrying IPv4 with UDP or TCP; header
    // options (IHL, TCP data offset) are skipped. A fragment other than the
    // first has no transport header: ports stay 0 and the payload starts
    // after the IP header. Returns false for anything else or a truncated
    // frame (`info` may then be partly filled); reads at most `length` bytes.
    static bool analyzeFrame(const unsigned char* data, unsigned long length, miiFrameInfo_t& info);
};

std::ostream& operator<<(std::ostream& os, const MIITraceMessage& msg);
