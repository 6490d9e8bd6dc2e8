#include "recordings/PcapngWriter.h"

#include "recordings/LittleEndian.h"

#include <algorithm>
#include <string>

namespace rksignal {

namespace {

constexpr uint32_t sectionHeaderBlock = 0x0a0d0d0a, interfaceBlock = 1, enhancedPacketBlock = 6;
constexpr uint16_t ethernetLink = 1, flexRayLink = 210, linLink = 212, socketCanLink = 227;
constexpr uint32_t snapshotLength = 262144;

constexpr auto put16 = LittleEndian::put16;
constexpr auto put32 = LittleEndian::put32;

void padTo4(std::vector<unsigned char>& out) { out.resize((out.size() + 3) / 4 * 4, 0); }

const char* kindName(uint16_t linkType)
{
    switch (linkType) {
    case socketCanLink:
        return "can";
    case linLink:
        return "lin";
    case flexRayLink:
        return "flexray";
    default:
        return "eth";
    }
}

} // namespace

PcapngWriter::PcapngWriter(FILE* file) : RecordingWriter(file)
{
    body_.clear();
    put32(body_, 0x1a2b3c4d); // byte-order magic
    put16(body_, 1);
    put16(body_, 0);
    put32(body_, 0xffffffff); // section length unknown
    put32(body_, 0xffffffff);
    block(sectionHeaderBlock, body_);
}

void PcapngWriter::block(uint32_t type, const std::vector<unsigned char>& body)
{
    std::vector<unsigned char> head;
    const uint32_t length = uint32_t(12 + (body.size() + 3) / 4 * 4);
    put32(head, type);
    put32(head, length);
    std::fwrite(head.data(), 1, head.size(), file_);
    std::fwrite(body.data(), 1, body.size(), file_);
    static const unsigned char zeros[4] = {};
    std::fwrite(zeros, 1, (4 - body.size() % 4) % 4, file_);
    head.clear();
    put32(head, length);
    std::fwrite(head.data(), 1, head.size(), file_);
}

uint32_t PcapngWriter::interfaceFor(uint16_t linkType, uint8_t channel)
{
    const auto key = std::make_pair(linkType, channel);
    const auto found = interfaces_.find(key);
    if (found != interfaces_.end())
        return found->second;
    const uint32_t id = uint32_t(interfaces_.size());
    interfaces_.emplace(key, id);
    std::vector<unsigned char> body;
    put16(body, linkType);
    put16(body, 0);
    put32(body, snapshotLength);
    const std::string name = kindName(linkType) + std::to_string(channel);
    put16(body, 2); // if_name
    put16(body, uint16_t(name.size()));
    body.insert(body.end(), name.begin(), name.end());
    padTo4(body);
    put32(body, 0); // end of options
    block(interfaceBlock, body);
    return id;
}

bool PcapngWriter::write(const RecordedMessage& message)
{
    packet_.clear();
    uint16_t linkType = 0;
    uint8_t channel = 0;
    switch (message.kind) {
    case RecordedMessage::Can: {
        const CANExtTraceMessage& frame = message.can;
        const uint32_t id = frame.canId | (frame.frameFormat & 1 ? 0x80000000u : 0);
        const uint8_t length = frame.length < 64 ? frame.length : 64;
        linkType = socketCanLink;
        channel = frame.channel;
        for (int shift = 24; shift >= 0; shift -= 8)
            packet_.push_back(uint8_t(id >> shift));
        packet_.push_back(length);
        packet_.push_back(frame.frameFormat & 2 ? uint8_t(0x04 | (message.canFdFlags & 0x3)) : 0);
        packet_.insert(packet_.end(), {0, 0});
        packet_.insert(packet_.end(), frame.payload, frame.payload + length);
        break;
    }
    case RecordedMessage::Lin: {
        const LINTraceMessage& frame = message.lin;
        const size_t length = frame.data.size() < 8 ? frame.data.size() : 8;
        linkType = linLink;
        channel = frame.channel;
        packet_.insert(packet_.end(), {1, 0, 0, 0, uint8_t(length << 4), frame.protectedId, 0, 0});
        packet_.insert(packet_.end(), frame.data.begin(), frame.data.begin() + ptrdiff_t(length));
        break;
    }
    case RecordedMessage::FlexRay: {
        const FlexRayExtTraceMessage& frame = message.flexRay;
        const size_t words = (frame.payload.size() < 254 ? frame.payload.size() + 1 : 254) / 2;
        linkType = flexRayLink;
        channel = frame.channel;
        // Channel A frame, no errors; header: not a null frame, slot, length
        // in 16-bit words, cycle.
        packet_.insert(packet_.end(), {0x01, 0x00, uint8_t(0x20 | ((frame.slot >> 8) & 0x07)), uint8_t(frame.slot),
                                       uint8_t(words << 1), 0, uint8_t(frame.cycle & 0x3f)});
        packet_.insert(packet_.end(), frame.payload.begin(), frame.payload.begin() + ptrdiff_t(std::min(words * 2, frame.payload.size())));
        packet_.resize(7 + words * 2, 0);
        break;
    }
    case RecordedMessage::Ethernet:
        linkType = ethernetLink;
        channel = message.ethernet.channel;
        packet_ = message.ethernet.frame;
        break;
    default:
        return false;
    }
    const uint32_t interface = interfaceFor(linkType, channel);
    const uint64_t timestamp = message.timestamp();
    body_.clear();
    put32(body_, interface);
    put32(body_, uint32_t(timestamp >> 32));
    put32(body_, uint32_t(timestamp));
    put32(body_, uint32_t(packet_.size()));
    put32(body_, uint32_t(packet_.size()));
    body_.insert(body_.end(), packet_.begin(), packet_.end());
    padTo4(body_);
    block(enhancedPacketBlock, body_);
    return true;
}

} // namespace rksignal
