#include "recordings/PcapngReader.h"

#include <limits>

namespace rksignal {

namespace {

constexpr uint32_t byteOrderMagic = 0x1a2b3c4du;
constexpr uint32_t maxBlockBytes = 16u << 20;
constexpr uint32_t blockFrameBytes = 12;  // type and length before the body, length again after it
constexpr uint32_t sectionHeaderBytes = 28;
constexpr uint64_t microsPerSecond = 1000000;

// Interface options we read.
constexpr uint16_t endOfOptions = 0, timeResolution = 9, timeOffset = 14;

uint32_t padded(uint32_t length)
{
    return (length + 3u) & ~3u;
}

// Microseconds of `time` counted in `unitsPerSecond`, shifted by whole
// seconds; false when that falls before 1970 or beyond 64 bits.
bool toMicroseconds(uint64_t time, uint64_t unitsPerSecond, int64_t offsetSeconds, uint64_t& micros)
{
    const __int128 seconds = __int128(time / unitsPerSecond) + offsetSeconds;
    const __int128 fraction = __int128(time % unitsPerSecond) * microsPerSecond / unitsPerSecond;
    const __int128 total = seconds * __int128(microsPerSecond) + fraction;
    if (total < 0 || total > __int128(std::numeric_limits<uint64_t>::max()))
        return false;
    micros = uint64_t(total);
    return true;
}

} // namespace

bool PcapngReader::hasMagic(const unsigned char* head, size_t size)
{
    return size >= 4 && head[0] == 0x0a && head[1] == 0x0d && head[2] == 0x0d && head[3] == 0x0a;
}

PcapngReader::PcapngReader(const std::string& path)
{
    file_ = std::fopen(path.c_str(), "rb");
    if (file_ == nullptr) {
        error_ = "cannot open the file";
        return;
    }
    uint32_t type = 0;
    if (readBlock(type) != Packet || type != SectionHeader || !startSection()) {
        if (error_.empty())
            error_ = type == SectionHeader ? "pcapng section of unknown major version " + std::to_string(get16(12))
                                           : "not a pcapng file (no section header at its start)";
        std::fclose(file_);
        file_ = nullptr;
    }
}

PcapngReader::~PcapngReader()
{
    if (file_)
        std::fclose(file_);
}

uint32_t PcapngReader::get32(size_t at) const
{
    const unsigned char* p = block_.data() + at;
    return littleEndian_ ? uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24
                         : uint32_t(p[3]) | uint32_t(p[2]) << 8 | uint32_t(p[1]) << 16 | uint32_t(p[0]) << 24;
}

uint16_t PcapngReader::get16(size_t at) const
{
    const unsigned char* p = block_.data() + at;
    return littleEndian_ ? uint16_t(p[0] | p[1] << 8) : uint16_t(p[1] | p[0] << 8);
}

CaptureSource::Status PcapngReader::fail(const std::string& reason)
{
    error_ = reason + " (block " + std::to_string(blocks_) + ")";
    return Failed;
}

// A section header carries the byte order of its section, so its length
// can be read only after its byte-order magic: it is read as 12 bytes
// first, every other block as 8.
CaptureSource::Status PcapngReader::readBlock(uint32_t& type)
{
    block_.resize(sectionHeaderBytes);
    const size_t got = std::fread(block_.data(), 1, 8, file_);
    if (got == 0 && std::feof(file_))
        return End;
    ++blocks_;
    if (got < 8)
        return fail("truncated pcapng block header");
    type = get32(0);
    if (type == SectionHeader) {
        if (std::fread(block_.data() + 8, 1, 4, file_) < 4)
            return fail("truncated pcapng section header");
        if (get32(8) != byteOrderMagic) {
            littleEndian_ = !littleEndian_;
            if (get32(8) != byteOrderMagic)
                return fail("pcapng section header without its byte-order magic");
        }
    }
    blockLength_ = get32(4);
    const uint32_t minimum = type == SectionHeader ? sectionHeaderBytes : blockFrameBytes;
    if (blockLength_ < minimum || blockLength_ % 4 != 0 || blockLength_ > maxBlockBytes)
        return fail("pcapng block of impossible length " + std::to_string(blockLength_));
    const size_t already = type == SectionHeader ? 12 : 8;
    block_.resize(blockLength_);
    if (std::fread(block_.data() + already, 1, blockLength_ - already, file_) < blockLength_ - already)
        return fail("truncated pcapng block: the file ends inside it");
    if (get32(blockLength_ - 4) != blockLength_)
        return fail("pcapng block whose two lengths differ");
    return Packet;
}

bool PcapngReader::startSection()
{
    interfaces_.clear();
    const uint16_t major = get16(12);
    return major == 1;
}

void PcapngReader::describeInterface()
{
    Interface interface;
    const uint32_t bodyEnd = blockLength_ - 4;
    if (bodyEnd < 16) {
        interface.timeUsable = false;
        interfaces_.push_back(interface);
        return;
    }
    interface.linkType = get16(8);
    interface.snapLength = get32(12);
    for (uint32_t at = 16; at + 4 <= bodyEnd;) {
        const uint16_t code = get16(at), length = get16(at + 2);
        if (code == endOfOptions || at + 4 + length > bodyEnd)
            break;
        const unsigned char* value = block_.data() + at + 4;
        if (code == timeResolution && length >= 1) {
            const unsigned exponent = value[0] & 0x7fu;
            const bool binary = value[0] & 0x80u;
            interface.timeUsable = binary ? exponent < 64 : exponent < 20;
            uint64_t units = 1;
            for (unsigned i = 0; interface.timeUsable && i < exponent; ++i)
                units *= binary ? 2 : 10;
            interface.unitsPerSecond = units;
        } else if (code == timeOffset && length >= 8) {
            const uint64_t high = get32(at + 4 + (littleEndian_ ? 4 : 0)), low = get32(at + 4 + (littleEndian_ ? 0 : 4));
            interface.offsetSeconds = int64_t(high << 32 | low);
        }
        at += 4 + padded(length);
    }
    interfaces_.push_back(interface);
}

bool PcapngReader::packetOf(uint32_t interface, uint64_t time, uint32_t at, uint32_t captured, CapturedPacket& packet)
{
    packet.fileBytes = blockLength_;
    packet.badReason = nullptr;
    if (interface >= interfaces_.size()) {
        packet.badReason = "packet of an interface that the capture does not describe";
        return false;
    }
    const Interface& described = interfaces_[interface];
    if (uint64_t(at) + captured > blockLength_ - 4) {
        packet.badReason = "packet block shorter than its captured length";
        return false;
    }
    packet.interface = interface;
    packet.linkType = described.linkType;
    packet.data = block_.data() + at;
    packet.length = captured;
    packet.timeValid = described.timeUsable &&
                       toMicroseconds(time, described.unitsPerSecond, described.offsetSeconds, packet.timestamp);
    if (!packet.timeValid)
        packet.timestamp = 0;
    lastTimestamp_ = packet.timestamp;
    lastTimeValid_ = packet.timeValid;
    return true;
}

// Enhanced and obsolete packet blocks share their layout but for the
// interface field: 32 bits, or 16 followed by a drop count.
bool PcapngReader::timedPacket(CapturedPacket& packet, bool obsolete)
{
    if (blockLength_ < blockFrameBytes + 20) {
        packet.badReason = "packet block shorter than its header";
        return false;
    }
    const uint64_t time = uint64_t(get32(12)) << 32 | get32(16);
    return packetOf(obsolete ? get16(8) : get32(8), time, 28, get32(20), packet);
}

// A simple packet holds the original length only; what was captured is what
// fits the block and the snapshot length of interface 0.
bool PcapngReader::simplePacket(CapturedPacket& packet)
{
    if (blockLength_ < blockFrameBytes + 4 || interfaces_.empty()) {
        packet.badReason = interfaces_.empty() ? "packet of an interface that the capture does not describe"
                                               : "simple packet block shorter than its header";
        return false;
    }
    uint32_t captured = get32(8);
    const uint32_t room = blockLength_ - blockFrameBytes - 4;
    if (captured > room)
        captured = room;
    if (interfaces_[0].snapLength != 0 && captured > interfaces_[0].snapLength)
        captured = interfaces_[0].snapLength;
    const uint64_t previous = lastTimestamp_;
    const bool previousValid = lastTimeValid_;
    packetOf(0, 0, 12, captured, packet);
    packet.timestamp = lastTimestamp_ = previous;
    packet.timeValid = lastTimeValid_ = previousValid;
    return true;
}

CaptureSource::Status PcapngReader::next(CapturedPacket& packet)
{
    for (;;) {
        uint32_t type = 0;
        const Status status = readBlock(type);
        if (status != Packet)
            return status;
        packet.badReason = nullptr;
        packet.fileBytes = blockLength_;
        switch (type) {
        case SectionHeader:
            if (!startSection())
                return fail("pcapng section of unknown major version " + std::to_string(get16(12)));
            break;
        case InterfaceDescription:
            describeInterface();
            break;
        case EnhancedPacket:
            timedPacket(packet, false);
            return Packet;
        case SimplePacket:
            simplePacket(packet);
            return Packet;
        case ObsoletePacket:
            timedPacket(packet, true);
            return Packet;
        default:
            break; // name resolution, statistics, custom blocks: nothing to decode
        }
    }
}

} // namespace rksignal
