#include "recordings/BlfWriter.h"

#include "recordings/LittleEndian.h"
#include "recordings/LogText.h"

#include <zlib.h>

#include <cstring>
#include <ctime>

namespace rksignal {

namespace {

constexpr size_t fileHeaderBytes = 144;
constexpr size_t containerBytes = 128 * 1024;
constexpr uint32_t objectHeaderBytes = 32; // base header and version 1 header
constexpr uint32_t oneNanosecond = 2;

using LE = LittleEndian;
constexpr auto put16 = LE::put16;
constexpr auto put32 = LE::put32;
constexpr auto put64 = LE::put64;
constexpr auto putZeros = LE::putZeros;

void putBaseHeader(std::vector<unsigned char>& out, uint16_t headerSize, uint32_t objectSize, uint32_t type)
{
    out.insert(out.end(), {'L', 'O', 'B', 'J'});
    put16(out, headerSize);
    put16(out, 1);
    put32(out, objectSize);
    put32(out, type);
}

void putSystemTime(std::vector<unsigned char>& out, uint64_t micros)
{
    if (micros == 0) {
        putZeros(out, 16);
        return;
    }
    const time_t seconds = time_t(micros / 1000000u);
    struct tm utc;
    gmtime_r(&seconds, &utc);
    for (int field : {utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_wday, utc.tm_mday, utc.tm_hour, utc.tm_min,
                      utc.tm_sec, int(micros / 1000u % 1000u)})
        put16(out, uint16_t(field));
}

} // namespace

BlfWriter::BlfWriter(FILE* file) : RecordingWriter(file)
{
    writeHeader(); // again at the end, with the totals
}

void BlfWriter::writeHeader()
{
    std::vector<unsigned char> header;
    header.insert(header.end(), {'L', 'O', 'G', 'G'});
    put32(header, fileHeaderBytes);
    // application (0: none named), its version; format version 2.6.8.1
    header.insert(header.end(), {0, 0, 0, 0, 2, 6, 8, 1});
    const long end = std::ftell(file_);
    put64(header, end > 0 ? uint64_t(end) : fileHeaderBytes);
    put64(header, uncompressedSize_ + fileHeaderBytes);
    put32(header, objects_);
    put32(header, 0);
    putSystemTime(header, start_);
    putSystemTime(header, last_ - last_ % 1000u);
    header.resize(fileHeaderBytes, 0);
    std::fseek(file_, 0, SEEK_SET);
    std::fwrite(header.data(), 1, header.size(), file_);
}

bool BlfWriter::write(const RecordedMessage& message)
{
    const uint64_t timestamp = message.timestamp();
    body_.clear();
    uint32_t type = 0;
    switch (message.kind) {
    case RecordedMessage::Can: {
        const CANExtTraceMessage& frame = message.can;
        const uint32_t id = frame.canId | (frame.frameFormat & 1 ? 0x80000000u : 0);
        const size_t length = frame.length < 64 ? frame.length : 64;
        if (frame.frameFormat & 2) {
            type = 100; // CAN_FD_MESSAGE
            put16(body_, frame.channel);
            body_.push_back(0); // flags: received
            body_.push_back(LogText::lengthToDlc(unsigned(length)));
            put32(body_, id);
            put32(body_, 0); // frame length
            body_.push_back(0); // bit count
            body_.push_back(uint8_t(0x1 | (message.canFdFlags & 0x3) << 1));
            body_.push_back(uint8_t(length));
            putZeros(body_, 5);
            body_.insert(body_.end(), frame.payload, frame.payload + length);
            putZeros(body_, 64 - length);
        } else {
            type = 1; // CAN_MESSAGE
            put16(body_, frame.channel);
            body_.push_back(0);
            body_.push_back(uint8_t(length));
            put32(body_, id);
            body_.insert(body_.end(), frame.payload, frame.payload + (length < 8 ? length : 8));
            putZeros(body_, length < 8 ? 8 - length : 0);
        }
        break;
    }
    case RecordedMessage::Lin: {
        const LINTraceMessage& frame = message.lin;
        const size_t length = frame.data.size() < 8 ? frame.data.size() : 8;
        type = 11; // LIN_MESSAGE
        put16(body_, frame.channel);
        body_.push_back(frame.protectedId & 0x3f);
        body_.push_back(uint8_t(length));
        body_.insert(body_.end(), frame.data.begin(), frame.data.begin() + ptrdiff_t(length));
        putZeros(body_, 8 - length + 12);
        break;
    }
    case RecordedMessage::Ethernet: {
        const MIITraceMessage& frame = message.ethernet;
        const size_t length = frame.frame.size() < 0xffff ? frame.frame.size() : 0xffff;
        type = 120; // ETHERNET_FRAME_EX
        put16(body_, 32);
        put16(body_, 0);
        put16(body_, frame.channel);
        put16(body_, 0);
        putZeros(body_, 12); // duration, checksum
        put16(body_, 0);     // received
        put16(body_, uint16_t(length));
        putZeros(body_, 8);
        body_.insert(body_.end(), frame.frame.begin(), frame.frame.begin() + ptrdiff_t(length));
        break;
    }
    case RecordedMessage::FlexRay: {
        const FlexRayExtTraceMessage& frame = message.flexRay;
        const size_t length = frame.payload.size() < 254 ? frame.payload.size() : 254;
        type = 85; // FR_RCVMESSAGE_EX
        put16(body_, frame.channel);
        put16(body_, 0);
        put16(body_, 1); // channel A
        put16(body_, 0); // received
        putZeros(body_, 8);
        put16(body_, frame.slot);
        putZeros(body_, 4);
        put16(body_, uint16_t(length));
        put16(body_, uint16_t(length));
        put16(body_, frame.cycle);
        putZeros(body_, 8);
        put32(body_, (frame.frameKind == 17 ? 1u << 20 : 0u) | 0x2u); // segment, valid data
        putZeros(body_, 84 - 40);
        body_.insert(body_.end(), frame.payload.begin(), frame.payload.begin() + ptrdiff_t(length));
        break;
    }
    default:
        return false;
    }
    object(type, timestamp, body_);
    return true;
}

void BlfWriter::object(uint32_t type, uint64_t timestamp, const std::vector<unsigned char>& body)
{
    if (!started_) {
        started_ = true;
        start_ = timestamp - timestamp % 1000u;
    }
    last_ = timestamp;
    const uint64_t offset = timestamp > start_ ? timestamp - start_ : 0;
    putBaseHeader(container_, objectHeaderBytes, uint32_t(objectHeaderBytes + body.size()), type);
    put32(container_, oneNanosecond);
    put16(container_, 0);
    put16(container_, 0);
    put64(container_, offset > UINT64_MAX / 1000u ? UINT64_MAX : offset * 1000u);
    container_.insert(container_.end(), body.begin(), body.end());
    putZeros(container_, (4 - body.size() % 4) % 4);
    ++objects_;
    flushContainers(false);
}

// A container holds 128 KiB of objects; what is left over starts the next
// one, so an object may be split between two. `all`: the last container
// takes whatever is left.
void BlfWriter::flushContainers(bool all)
{
    while (container_.size() >= containerBytes || (all && !container_.empty())) {
        const size_t size = container_.size() < containerBytes ? container_.size() : containerBytes;
        uLongf compressedSize = compressBound(uLong(size));
        compressed_.resize(compressedSize);
        compress2(compressed_.data(), &compressedSize, container_.data(), uLong(size), Z_DEFAULT_COMPRESSION);
        std::vector<unsigned char> head;
        const uint32_t objectSize = uint32_t(16 + 16 + compressedSize);
        putBaseHeader(head, 16, objectSize, 10);
        put16(head, 2); // zlib
        putZeros(head, 6);
        put32(head, uint32_t(size));
        putZeros(head, 4);
        std::fwrite(head.data(), 1, head.size(), file_);
        std::fwrite(compressed_.data(), 1, compressedSize, file_);
        static const unsigned char padding[4] = {};
        std::fwrite(padding, 1, objectSize % 4, file_);
        uncompressedSize_ += 32 + size;
        container_.erase(container_.begin(), container_.begin() + ptrdiff_t(size));
    }
}

void BlfWriter::complete()
{
    flushContainers(true);
    std::fseek(file_, 0, SEEK_END);
    writeHeader();
}

} // namespace rksignal
