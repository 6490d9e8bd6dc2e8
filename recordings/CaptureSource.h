// CaptureSource: the packets of a capture file, one at a time, with the
// interface that captured each and that interface's link type.
//
// Two sources exist: libpcap for classic pcap files, and our own block
// reader for pcapng, whose interfaces may differ in link type and snapshot
// length (libpcap reads only captures whose interfaces share one link type).
//
// Not thread-safe; one per capture.
#pragma once

#include <cstdint>
#include <string>

namespace rksignal {

struct CapturedPacket {
    uint32_t interface = 0;
    int linkType = 0;
    // Microseconds since 1970; false when the capture's clock says a time
    // before 1970 or beyond what 64 bits of microseconds hold.
    bool timeValid = true;
    uint64_t timestamp = 0;
    const unsigned char* data = nullptr; // valid until the next call of next()
    uint32_t length = 0;                 // bytes captured
    uint64_t fileBytes = 0;              // bytes of the file this packet took, for the progress display
    // Set when the packet's record is damaged (it claims more bytes than it
    // holds, names an interface that was never described): the packet is
    // reported as bad and skipped, and reading goes on.
    const char* badReason = nullptr;
};

class CaptureSource {
public:
    enum Status { Packet, End, Failed };

    virtual ~CaptureSource() = default;
    // The next packet; Failed with the reason in error() when the file is
    // damaged or cannot be read further.
    virtual Status next(CapturedPacket& packet) = 0;
    virtual const std::string& error() const = 0;
};

} // namespace rksignal
