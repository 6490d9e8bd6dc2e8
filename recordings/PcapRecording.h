// PcapRecording: a pcap or pcapng capture, its packets turned into the
// trace messages of their interface's link type:
//
//   1   Ethernet            the frame up to the end of its IP datagram -> MII message (EthernetSignal)
//   227 SocketCAN           CAN and CAN FD frames -> CAN message
//   210 FlexRay             frames -> FlexRay message
//   212 LIN                 frames -> LIN message
//
// Classic pcap files are read through libpcap, pcapng files by our own block
// reader, so that the interfaces of one pcapng file may differ in link type
// and snapshot length. Every message gets the capture's time stamp in
// microseconds (finer captures are cut to microseconds) and the channel of
// its interface: the capture's channel for interface 0, the capture's
// channel + N for interface N, unless the caller maps interface N to a
// channel of its own.
//
// Ethernet frames are cut where their IPv4 total length (and, for UDP, the
// UDP length) says the datagram ends, so that the padding of short frames
// and trailers that capture hardware appends are not read as payload.
//
// SocketCAN identifiers are big-endian on the wire format, but older
// capture tools stored them in the byte order of the capturing host. The
// order is decided once per file from the frames themselves: a standard
// frame cannot have identifier bits above bit 10, so a file whose frames
// are impossible one way and possible the other is read the other way, and
// the report says so once.
//
// A FlexRay packet does not say whether its slot lies in the static or the
// dynamic segment; a slot is taken as static when the definitions place it
// there. Interfaces of other link types are reported once and skipped;
// packets the link type cannot carry are bad packets; remote, error and null
// frames, symbols and frames flagged with errors are skipped.
//
// Not thread-safe; one per capture.
#pragma once

#include "recordings/CaptureSource.h"
#include "recordings/RecordingReader.h"
#include "recordings/RecordingReport.h"
#include "recordings/RecordingSetup.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace rksignal {

class PcapRecording : public RecordingReader {
public:
    enum LinkType : int { Ethernet = 1, FlexRay = 210, Lin = 212, SocketCan = 227 };

    // True for the magic number of a pcap (either byte order, micro- or
    // nanoseconds) or pcapng file.
    static bool hasMagic(const unsigned char* head, size_t size);
    // The capture at `path` on the setup's channel, as the table of
    // recording formats opens it; null, with the reason in `error`, when it
    // cannot be read as a capture.
    static std::unique_ptr<RecordingReader> open(const std::string& path, const RecordingSetup& setup,
                                                 std::string& error);

    // `staticSlots[slot]`: FlexRay slots of the static segment (2048 long,
    // or empty when no definition names one). `interfaceChannels`: channels
    // of pcapng interfaces by number, where not channel + number.
    PcapRecording(const std::string& path, uint8_t channel, std::vector<bool> staticSlots, RecordingReport& report,
                  std::map<uint32_t, uint8_t> interfaceChannels = {});
    ~PcapRecording() override;
    PcapRecording(const PcapRecording&) = delete;
    PcapRecording& operator=(const PcapRecording&) = delete;

    // False, with the reason in openError(), when the file cannot be read
    // as a capture.
    bool isOpen() const { return source_ != nullptr; }
    const std::string& openError() const { return openError_; }
    // Whether the SocketCAN identifiers are read in host byte order.
    bool hostOrderCanIds() const { return hostOrderCanIds_; }

    bool next() override;
    const RecordedMessage& message() const override { return message_; }
    uint64_t bytesConsumed() const override { return consumed_ < fileSize_ ? consumed_ : fileSize_; }
    uint64_t fileSize() const override { return fileSize_; }

private:
    enum Result { Message, Skipped, Bad };
    static Result bad(const char*& reason, const char* text)
    {
        reason = text;
        return Bad;
    }

    static std::unique_ptr<CaptureSource> openSource(const std::string& path, std::string& error);
    // Reads the file's first SocketCAN frames once to tell their byte order.
    static bool canIdsInHostOrder(const std::string& path);
    // Whether the packet's interface is of a link type we decode (reporting
    // each other interface once); sets the channel of its messages.
    bool decodable(const CapturedPacket& packet);

    Result convert(const CapturedPacket& packet, const char*& reason);
    Result ethernet(const unsigned char* data, uint32_t length);
    Result socketCan(const unsigned char* data, uint32_t length, const char*& reason);
    Result flexRay(const unsigned char* data, uint32_t length, const char*& reason);
    Result lin(const unsigned char* data, uint32_t length, const char*& reason);
    void readFailed();

    std::string path_;
    uint8_t channel_;
    std::vector<bool> staticSlots_;
    RecordingReport& report_;
    std::map<uint32_t, uint8_t> interfaceChannels_;
    std::unique_ptr<CaptureSource> source_;
    std::string openError_;
    bool reading_ = true;
    bool hostOrderCanIds_ = false;
    // Per interface, filled on its first packet.
    struct InterfaceState {
        bool seen = false;
        bool decoded = false;
        uint8_t channel = 0;
    };
    std::vector<InterfaceState> interfaces_;
    uint8_t packetChannel_ = 0;
    uint64_t packets_ = 0;
    uint64_t consumed_ = 0;
    uint64_t fileSize_ = 0;
    RecordedMessage message_;
};

} // namespace rksignal
