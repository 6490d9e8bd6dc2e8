// EthernetFrameEnd: where the IP datagram in a captured Ethernet frame ends.
//
// Frames shorter than 60 bytes are padded on the wire, and some capture
// hardware appends trailers (time stamps, checksums) after the datagram;
// neither is payload. Stateless; safe from any thread.
#pragma once

#include <cstdint>

namespace rksignal {

class EthernetFrameEnd {
public:
    // The length of the frame up to the end of its IPv4 datagram (by the
    // total length, and for the first fragment of a UDP datagram by the UDP
    // length), behind Ethernet II and up to two VLAN tags. `length` itself
    // for frames that are not IPv4 or whose lengths cannot be trusted (past
    // the frame, shorter than their own headers).
    static uint32_t of(const unsigned char* frame, uint32_t length);
};

} // namespace rksignal
