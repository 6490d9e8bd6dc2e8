// LibpcapSource: the packets of a classic pcap file (either byte order,
// micro- or nanosecond time stamps) read through libpcap; every packet is
// of interface 0 and the file's one link type.
//
// Not thread-safe; one per capture.
#pragma once

#include "recordings/CaptureSource.h"

#include <string>

struct pcap;

namespace rksignal {

class LibpcapSource : public CaptureSource {
public:
    // isOpen() tells whether libpcap could read `path`; error() says why not.
    explicit LibpcapSource(const std::string& path);
    ~LibpcapSource() override;
    LibpcapSource(const LibpcapSource&) = delete;
    LibpcapSource& operator=(const LibpcapSource&) = delete;

    bool isOpen() const { return handle_ != nullptr; }
    Status next(CapturedPacket& packet) override;
    const std::string& error() const override { return error_; }

private:
    pcap* handle_ = nullptr;
    int linkType_ = 0;
    std::string error_;
};

} // namespace rksignal
