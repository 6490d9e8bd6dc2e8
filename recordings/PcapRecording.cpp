#include "recordings/PcapRecording.h"

#include <pcap/pcap.h>
#include <sys/stat.h>

#include <cstring>

namespace rksignal {

namespace {

// Record header of a packet in a pcap file, for the progress display.
constexpr uint64_t packetHeaderBytes = 16;

constexpr uint32_t canExtendedFlag = 0x80000000u;
constexpr uint32_t canRemoteFlag = 0x40000000u;
constexpr uint32_t canErrorFlag = 0x20000000u;
constexpr uint8_t canFdBitRateSwitch = 0x01, canFdErrorState = 0x02, canFdFrame = 0x04;
constexpr uint8_t canXlFrame = 0x80; // in the length byte's place of a CAN XL header
constexpr uint32_t socketCanHeaderBytes = 8;

constexpr uint32_t linHeaderBytes = 8;
constexpr uint8_t linFrame = 0;

constexpr uint32_t flexRayHeaderBytes = 2 + 5; // measurement header, error flags, frame header
constexpr uint8_t flexRayFrameType = 0x01;
constexpr uint8_t flexRayNotNullFrame = 0x20;

// Captures tell us when two interfaces of a pcapng file differ in link type
// only through this text of libpcap's.
constexpr const char* mixedLinkTypes = "different from the type of the first interface";

uint32_t bigEndian32(const unsigned char* p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
}

std::string linkTypeText(int linkType)
{
    const char* name = pcap_datalink_val_to_name(linkType);
    return std::to_string(linkType) + (name ? std::string(" (") + name + ")" : std::string());
}

} // namespace

bool PcapRecording::hasMagic(const unsigned char* head, size_t size)
{
    if (size < 4)
        return false;
    const uint32_t word = bigEndian32(head);
    return word == 0xa1b2c3d4u || word == 0xd4c3b2a1u     // pcap, microseconds, either byte order
           || word == 0xa1b23c4du || word == 0x4d3cb2a1u  // pcap, nanoseconds
           || word == 0x0a0d0d0au;                        // pcapng section header
}

std::unique_ptr<RecordingReader> PcapRecording::open(const std::string& path, const RecordingSetup& setup,
                                                     std::string& error)
{
    auto capture = std::make_unique<PcapRecording>(path, setup.channel, setup.staticSlots, setup.report);
    if (capture->isOpen())
        return capture;
    error = capture->openError();
    return nullptr;
}

PcapRecording::PcapRecording(const std::string& path, uint8_t channel, std::vector<bool> staticSlots,
                             RecordingReport& report)
    : path_(path), channel_(channel), staticSlots_(std::move(staticSlots)), report_(report)
{
    char error[PCAP_ERRBUF_SIZE] = {};
    // Microsecond precision: libpcap scales nanosecond captures down.
    handle_ = pcap_open_offline_with_tstamp_precision(path.c_str(), PCAP_TSTAMP_PRECISION_MICRO, error);
    if (handle_ == nullptr) {
        openError_ = error;
        return;
    }
    struct stat info;
    if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode))
        fileSize_ = uint64_t(info.st_size);
    linkType_ = pcap_datalink(handle_);
    decodable_ = linkType_ == Ethernet || linkType_ == SocketCan || linkType_ == FlexRay || linkType_ == Lin;
    if (!decodable_)
        report_.warning(path_, "link type " + linkTypeText(linkType_) +
                                   " is not decoded (Ethernet, SocketCAN, FlexRay and LIN are); the capture is "
                                   "skipped");
}

PcapRecording::~PcapRecording()
{
    if (handle_)
        pcap_close(handle_);
}

bool PcapRecording::next()
{
    while (decodable_) {
        pcap_pkthdr* header = nullptr;
        const unsigned char* data = nullptr;
        const int got = pcap_next_ex(handle_, &header, &data);
        if (got == PCAP_ERROR_BREAK) // the end of the capture
            break;
        if (got < 0) {
            readFailed();
            break;
        }
        if (got == 0)
            continue;
        ++packets_;
        consumed_ += packetHeaderBytes + header->caplen;
        const char* reason = "";
        switch (convert(*header, data, reason)) {
        case Message:
            return true;
        case Skipped:
            break;
        case Bad:
            report_.badPacket(path_, packets_, reason);
            break;
        }
    }
    decodable_ = false;
    consumed_ = fileSize_;
    return false;
}

void PcapRecording::readFailed()
{
    const std::string reason = pcap_geterr(handle_);
    const std::string after = " (after " + std::to_string(packets_) + " packets)";
    if (reason.find(mixedLinkTypes) != std::string::npos)
        report_.error(path_, "the interfaces of this pcapng capture have different link types, which libpcap "
                             "reads only one at a time (" + reason + ")" + after +
                             "; split it into one capture per link type, e.g. with editcap (editcap -r " + path_ +
                             " part.pcapng 1-1000 keeps packets 1 to 1000) or with tshark -r " + path_ +
                             " -Y 'frame.interface_id == 1' -w part.pcapng");
    else
        report_.error(path_, reason + after);
}

PcapRecording::Result PcapRecording::convert(const pcap_pkthdr& header, const unsigned char* data,
                                             const char*& reason)
{
    if (header.ts.tv_sec < 0 || header.ts.tv_usec < 0)
        return bad(reason, "time stamp before 1970");
    const uint64_t timestamp = uint64_t(header.ts.tv_sec) * 1000000u + uint64_t(header.ts.tv_usec);
    Result result = Skipped;
    switch (linkType_) {
    case Ethernet:
        result = ethernet(data, header.caplen);
        message_.ethernet.timestamp = timestamp;
        break;
    case SocketCan:
        result = socketCan(data, header.caplen, reason);
        message_.can.timestamp = timestamp;
        break;
    case FlexRay:
        result = flexRay(data, header.caplen, reason);
        message_.flexRay.timestamp = timestamp;
        break;
    case Lin:
        result = lin(data, header.caplen, reason);
        message_.lin.timestamp = timestamp;
        break;
    }
    return result;
}

PcapRecording::Result PcapRecording::ethernet(const unsigned char* data, uint32_t length)
{
    message_.kind = RecordedMessage::Ethernet;
    message_.ethernet.frame.assign(data, data + length);
    message_.ethernet.channel = channel_;
    return Message;
}

// Header: CAN identifier with the extended, remote and error flags (32 bits,
// big-endian), payload length, CAN FD flags, two reserved bytes; then the
// payload.
PcapRecording::Result PcapRecording::socketCan(const unsigned char* data, uint32_t length, const char*& reason)
{
    if (length < socketCanHeaderBytes)
        return bad(reason, "shorter than the 8-byte SocketCAN header");
    const uint32_t id = bigEndian32(data);
    const uint8_t payloadLength = data[4], flags = data[5];
    if (payloadLength & canXlFrame)
        return Skipped; // CAN XL: not a frame the CAN signals can be in
    if (id & (canRemoteFlag | canErrorFlag))
        return Skipped; // no data to decode
    // The FD flag counts only with clean reserved bytes: older writers left
    // junk there. A classic frame never holds more than 8 bytes.
    const bool markedFd = (flags & canFdFrame) && (flags & ~(canFdBitRateSwitch | canFdErrorState | canFdFrame)) == 0 &&
                          data[6] == 0 && data[7] == 0;
    const bool fd = markedFd || payloadLength > 8;
    if (payloadLength > 64)
        return bad(reason, "payload length beyond 64 bytes");
    if (length - socketCanHeaderBytes < payloadLength)
        return bad(reason, "payload shorter than its length field");
    const bool extended = id & canExtendedFlag;
    CANExtTraceMessage& can = message_.can;
    message_.kind = RecordedMessage::Can;
    can.canId = extended ? (id & 0x1fffffffu) : (id & 0x7ffu);
    can.frameFormat = (extended ? 1u : 0u) + (fd ? 2u : 0u);
    can.length = payloadLength;
    std::memcpy(can.payload, data + socketCanHeaderBytes, payloadLength);
    std::memset(can.payload + payloadLength, 0, sizeof can.payload - payloadLength);
    can.channel = channel_;
    return Message;
}

// Measurement header (bit 7 channel A/B, bits 0-6 type: 1 frame, 2 symbol),
// error flags, then the frame: 5 header bytes (indicators and 11-bit frame
// identifier, 7-bit payload length in 16-bit words and the header CRC,
// 6-bit cycle count) and the payload.
PcapRecording::Result PcapRecording::flexRay(const unsigned char* data, uint32_t length, const char*& reason)
{
    if (length < 2)
        return bad(reason, "shorter than the FlexRay measurement header");
    if ((data[0] & 0x7f) != flexRayFrameType || (data[1] & 0x1f) != 0)
        return Skipped; // a symbol, or a frame received with errors
    if (length < flexRayHeaderBytes)
        return bad(reason, "shorter than the FlexRay frame header");
    if (!(data[2] & flexRayNotNullFrame))
        return Skipped; // a null frame carries no data
    const uint16_t slot = uint16_t((data[2] & 0x07) << 8 | data[3]);
    const uint32_t payloadLength = data[4] & 0xfeu; // words, times two
    if (slot == 0)
        return bad(reason, "frame identifier 0");
    if (length - flexRayHeaderBytes < payloadLength)
        return bad(reason, "payload shorter than its length field");
    FlexRayExtTraceMessage& frame = message_.flexRay;
    message_.kind = RecordedMessage::FlexRay;
    const bool isStatic = slot < staticSlots_.size() && staticSlots_[slot];
    frame.frameKind = isStatic ? 16 : 17;
    frame.channel = channel_;
    frame.slot = slot;
    frame.cycle = data[6] & 0x3f;
    const unsigned char* payload = data + flexRayHeaderBytes;
    frame.data.assign(payload, payload + payloadLength);
    frame.payload.assign(payload, payload + payloadLength);
    return Message;
}

// Header: format revision, 3 reserved bytes, a byte of payload length (bits
// 4-7), message type (bits 2-3: 0 frame, 3 event) and checksum type, the
// protected identifier, the checksum, error flags; then the payload.
PcapRecording::Result PcapRecording::lin(const unsigned char* data, uint32_t length, const char*& reason)
{
    if (length < linHeaderBytes)
        return bad(reason, "shorter than the 8-byte LIN header");
    const uint32_t payloadLength = data[4] >> 4;
    if (((data[4] >> 2) & 0x03) != linFrame || data[7] != 0)
        return Skipped; // an event (sleep, wake-up), or a frame received with errors
    if (payloadLength > 8)
        return bad(reason, "payload length beyond 8 bytes");
    if (length - linHeaderBytes < payloadLength)
        return bad(reason, "payload shorter than its length field");
    LINTraceMessage& lin = message_.lin;
    message_.kind = RecordedMessage::Lin;
    lin.data.assign(data + linHeaderBytes, data + linHeaderBytes + payloadLength);
    lin.protectedId = data[5];
    lin.channel = channel_;
    return Message;
}

} // namespace rksignal
