#include "recordings/PcapRecording.h"

#include "recordings/EthernetFrameEnd.h"
#include "recordings/LibpcapSource.h"
#include "recordings/PcapngReader.h"

#include <pcap/pcap.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

namespace rksignal {

namespace {

constexpr uint32_t canExtendedFlag = 0x80000000u;
constexpr uint32_t canRemoteFlag = 0x40000000u;
constexpr uint32_t canErrorFlag = 0x20000000u;
constexpr uint32_t canStandardIdBits = 0x7ffu;
constexpr uint32_t canIdBits = 0x1fffffffu;
constexpr uint8_t canFdBitRateSwitch = 0x01, canFdErrorState = 0x02, canFdFrame = 0x04;
constexpr uint8_t canXlFrame = 0x80; // in the length byte's place of a CAN XL header
constexpr uint32_t socketCanHeaderBytes = 8;
// Frames read to tell the byte order of a capture's CAN identifiers, and
// packets looked at to find them (a capture of Ethernet alone is not read
// through twice).
constexpr int byteOrderSample = 1000;
constexpr int byteOrderSearch = 10000;

constexpr uint32_t linHeaderBytes = 8;
constexpr uint8_t linFrame = 0;

constexpr uint32_t flexRayHeaderBytes = 2 + 5; // measurement header, error flags, frame header
constexpr uint8_t flexRayFrameType = 0x01;
constexpr uint8_t flexRayNotNullFrame = 0x20;

uint32_t bigEndian32(const unsigned char* p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
}

uint32_t littleEndian32(const unsigned char* p)
{
    return uint32_t(p[3]) << 24 | uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | uint32_t(p[0]);
}

// A standard (11-bit) identifier leaves the bits up to the flags clear.
bool possibleCanId(uint32_t word)
{
    return (word & canExtendedFlag) || (word & canIdBits & ~canStandardIdBits) == 0;
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
           || PcapngReader::hasMagic(head, size);
}

std::unique_ptr<RecordingReader> PcapRecording::open(const std::string& path, const RecordingSetup& setup,
                                                     std::string& error)
{
    auto capture = std::make_unique<PcapRecording>(path, setup.channel, setup.staticSlots, setup.report,
                                                   setup.interfaceChannels);
    if (capture->isOpen())
        return capture;
    error = capture->openError();
    return nullptr;
}

std::unique_ptr<CaptureSource> PcapRecording::openSource(const std::string& path, std::string& error)
{
    unsigned char head[4] = {};
    if (FILE* file = std::fopen(path.c_str(), "rb")) {
        const size_t size = std::fread(head, 1, sizeof head, file);
        std::fclose(file);
        if (PcapngReader::hasMagic(head, size)) {
            auto reader = std::make_unique<PcapngReader>(path);
            if (reader->isOpen())
                return reader;
            error = reader->error();
            return nullptr;
        }
    }
    auto source = std::make_unique<LibpcapSource>(path);
    if (source->isOpen())
        return source;
    error = source->error();
    return nullptr;
}

bool PcapRecording::canIdsInHostOrder(const std::string& path)
{
    std::string error;
    const std::unique_ptr<CaptureSource> source = openSource(path, error);
    int impossibleAsNetwork = 0, impossibleAsHost = 0;
    CapturedPacket packet;
    for (int frames = 0, packets = 0; source && frames < byteOrderSample && packets < byteOrderSearch &&
                                      source->next(packet) == CaptureSource::Packet;
         ++packets) {
        if (packet.badReason || packet.linkType != SocketCan || packet.length < socketCanHeaderBytes)
            continue;
        ++frames;
        impossibleAsNetwork += !possibleCanId(bigEndian32(packet.data));
        impossibleAsHost += !possibleCanId(littleEndian32(packet.data));
    }
    return impossibleAsNetwork > 0 && impossibleAsHost == 0;
}

PcapRecording::PcapRecording(const std::string& path, uint8_t channel, std::vector<bool> staticSlots,
                             RecordingReport& report, std::map<uint32_t, uint8_t> interfaceChannels)
    : path_(path), channel_(channel), staticSlots_(std::move(staticSlots)), report_(report),
      interfaceChannels_(std::move(interfaceChannels))
{
    source_ = openSource(path, openError_);
    if (source_ == nullptr)
        return;
    struct stat info;
    if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode))
        fileSize_ = uint64_t(info.st_size);
    hostOrderCanIds_ = canIdsInHostOrder(path);
    if (hostOrderCanIds_)
        report_.warning(path_, "the SocketCAN identifiers of this capture are in little-endian host byte order, "
                               "as older capture tools wrote them; they are read so");
}

PcapRecording::~PcapRecording() = default;

bool PcapRecording::decodable(const CapturedPacket& packet)
{
    if (packet.interface >= interfaces_.size())
        interfaces_.resize(size_t(packet.interface) + 1);
    InterfaceState& state = interfaces_[packet.interface];
    if (!state.seen) {
        state.seen = true;
        const int type = packet.linkType;
        state.decoded = type == Ethernet || type == SocketCan || type == FlexRay || type == Lin;
        const auto mapped = interfaceChannels_.find(packet.interface);
        const uint32_t numbered = uint32_t(channel_) + packet.interface;
        state.channel = mapped != interfaceChannels_.end() ? mapped->second
                        : numbered <= 255                  ? uint8_t(numbered)
                                                           : channel_;
        if (!state.decoded)
            report_.warning(path_, (packet.interface == 0 ? std::string()
                                                          : "interface " + std::to_string(packet.interface) + ": ") +
                                       "link type " + linkTypeText(type) +
                                       " is not decoded (Ethernet, SocketCAN, FlexRay and LIN are); " +
                                       (packet.interface == 0 ? "the capture is skipped" : "its packets are skipped"));
    }
    packetChannel_ = state.channel;
    return state.decoded;
}

bool PcapRecording::next()
{
    CapturedPacket packet;
    while (reading_) {
        const CaptureSource::Status status = source_->next(packet);
        if (status == CaptureSource::End)
            break;
        if (status == CaptureSource::Failed) {
            readFailed();
            break;
        }
        ++packets_;
        consumed_ += packet.fileBytes;
        const char* reason = packet.badReason;
        if (reason == nullptr && !decodable(packet))
            continue;
        switch (reason ? Bad : convert(packet, reason)) {
        case Message:
            return true;
        case Skipped:
            break;
        case Bad:
            report_.badPacket(path_, packets_, reason);
            break;
        }
    }
    reading_ = false;
    consumed_ = fileSize_;
    return false;
}

void PcapRecording::readFailed()
{
    report_.error(path_, source_->error() + " (after " + std::to_string(packets_) + " packets)");
}

PcapRecording::Result PcapRecording::convert(const CapturedPacket& packet, const char*& reason)
{
    if (!packet.timeValid)
        return bad(reason, "time stamp before 1970");
    Result result = Skipped;
    switch (packet.linkType) {
    case Ethernet:
        result = ethernet(packet.data, packet.length);
        message_.ethernet.timestamp = packet.timestamp;
        break;
    case SocketCan:
        result = socketCan(packet.data, packet.length, reason);
        message_.can.timestamp = packet.timestamp;
        break;
    case FlexRay:
        result = flexRay(packet.data, packet.length, reason);
        message_.flexRay.timestamp = packet.timestamp;
        break;
    case Lin:
        result = lin(packet.data, packet.length, reason);
        message_.lin.timestamp = packet.timestamp;
        break;
    }
    return result;
}

PcapRecording::Result PcapRecording::ethernet(const unsigned char* data, uint32_t length)
{
    message_.kind = RecordedMessage::Ethernet;
    message_.ethernet.frame.assign(data, data + EthernetFrameEnd::of(data, length));
    message_.ethernet.channel = packetChannel_;
    return Message;
}

// Header: CAN identifier with the extended, remote and error flags (32 bits,
// big-endian), payload length, CAN FD flags, two reserved bytes; then the
// payload.
PcapRecording::Result PcapRecording::socketCan(const unsigned char* data, uint32_t length, const char*& reason)
{
    if (length < socketCanHeaderBytes)
        return bad(reason, "shorter than the 8-byte SocketCAN header");
    const uint32_t id = hostOrderCanIds_ ? littleEndian32(data) : bigEndian32(data);
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
    can.channel = packetChannel_;
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
    frame.channel = packetChannel_;
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
    lin.channel = packetChannel_;
    return Message;
}

} // namespace rksignal
