// PcapRecording: a pcap or pcapng capture read through libpcap, its packets
// turned into the trace messages of their link type:
//
//   1   Ethernet            the whole frame -> MII message (EthernetSignal)
//   227 SocketCAN           CAN and CAN FD frames -> CAN message
//   210 FlexRay             frames -> FlexRay message
//   212 LIN                 frames -> LIN message
//
// Every message gets the capture's time stamp in microseconds (nanosecond
// captures are cut to microseconds) and the channel the capture was given.
// A FlexRay packet does not say whether its slot lies in the static or the
// dynamic segment; a slot is taken as static when the definitions place it
// there. Captures of other link types are reported and skipped; packets the
// link type cannot carry are bad packets; remote, error and null frames,
// symbols and frames flagged with errors are skipped.
//
// Not thread-safe; one per capture.
#pragma once

#include "recordings/RecordingReader.h"
#include "recordings/RecordingReport.h"
#include "recordings/RecordingSetup.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct pcap;
struct pcap_pkthdr;

namespace rksignal {

class PcapRecording : public RecordingReader {
public:
    enum LinkType : int { Ethernet = 1, FlexRay = 210, Lin = 212, SocketCan = 227 };

    // True for the magic number of a pcap (either byte order, micro- or
    // nanoseconds) or pcapng file.
    static bool hasMagic(const unsigned char* head, size_t size);
    // The capture at `path` on the setup's channel, as the table of
    // recording formats opens it; null, with libpcap's reason in `error`,
    // when it cannot be read as a capture.
    static std::unique_ptr<RecordingReader> open(const std::string& path, const RecordingSetup& setup,
                                                 std::string& error);

    // `staticSlots[slot]`: FlexRay slots of the static segment (2048 long,
    // or empty when no definition names one).
    PcapRecording(const std::string& path, uint8_t channel, std::vector<bool> staticSlots, RecordingReport& report);
    ~PcapRecording() override;
    PcapRecording(const PcapRecording&) = delete;
    PcapRecording& operator=(const PcapRecording&) = delete;

    // False, with libpcap's reason in openError(), when the file cannot be
    // read as a capture.
    bool isOpen() const { return handle_ != nullptr; }
    const std::string& openError() const { return openError_; }
    int linkType() const { return linkType_; }

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

    Result convert(const pcap_pkthdr& header, const unsigned char* data, const char*& reason);
    Result ethernet(const unsigned char* data, uint32_t length);
    Result socketCan(const unsigned char* data, uint32_t length, const char*& reason);
    Result flexRay(const unsigned char* data, uint32_t length, const char*& reason);
    Result lin(const unsigned char* data, uint32_t length, const char*& reason);
    void readFailed();

    std::string path_;
    uint8_t channel_;
    std::vector<bool> staticSlots_;
    RecordingReport& report_;
    pcap* handle_ = nullptr;
    std::string openError_;
    int linkType_ = 0;
    bool decodable_ = false;
    uint64_t packets_ = 0;
    uint64_t consumed_ = 0;
    uint64_t fileSize_ = 0;
    RecordedMessage message_;
};

} // namespace rksignal
