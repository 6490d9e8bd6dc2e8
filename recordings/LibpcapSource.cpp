#include "recordings/LibpcapSource.h"

#include <pcap/pcap.h>

namespace rksignal {

namespace {

// Record header of a packet in a pcap file, for the progress display.
constexpr uint64_t packetHeaderBytes = 16;

} // namespace

LibpcapSource::LibpcapSource(const std::string& path)
{
    char error[PCAP_ERRBUF_SIZE] = {};
    // Microsecond precision: libpcap scales nanosecond captures down.
    handle_ = pcap_open_offline_with_tstamp_precision(path.c_str(), PCAP_TSTAMP_PRECISION_MICRO, error);
    if (handle_ == nullptr)
        error_ = error;
    else
        linkType_ = pcap_datalink(handle_);
}

LibpcapSource::~LibpcapSource()
{
    if (handle_)
        pcap_close(handle_);
}

CaptureSource::Status LibpcapSource::next(CapturedPacket& packet)
{
    for (;;) {
        pcap_pkthdr* header = nullptr;
        const unsigned char* data = nullptr;
        const int got = pcap_next_ex(handle_, &header, &data);
        if (got == PCAP_ERROR_BREAK) // the end of the capture
            return End;
        if (got < 0) {
            error_ = pcap_geterr(handle_);
            return Failed;
        }
        if (got == 0)
            continue;
        packet.interface = 0;
        packet.linkType = linkType_;
        packet.timeValid = header->ts.tv_sec >= 0 && header->ts.tv_usec >= 0;
        packet.timestamp =
            packet.timeValid ? uint64_t(header->ts.tv_sec) * 1000000u + uint64_t(header->ts.tv_usec) : 0;
        packet.data = data;
        packet.length = header->caplen;
        packet.fileBytes = packetHeaderBytes + header->caplen;
        return Packet;
    }
}

} // namespace rksignal
