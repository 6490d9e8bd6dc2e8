#include "recordings/BlfReader.h"

#include "recordings/LittleEndian.h"
#include "recordings/LogText.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>

namespace rksignal {

namespace {

constexpr size_t fileHeaderBytes = 72;
constexpr size_t objectBaseBytes = 16;
constexpr size_t containerHeaderBytes = 16;
// No real object or container comes near this; beyond it the file is taken
// as damaged rather than read into memory.
constexpr size_t largestObject = 64u << 20;

enum ObjectType : uint32_t {
    CanMessage = 1,
    CanError = 2,
    LogContainer = 10,
    LinMessage = 11,
    FlexRayReceive = 66,
    EthernetFrame = 71,
    CanErrorExt = 73,
    FlexRayReceiveEx = 85,
    CanMessage2 = 86,
    CanFdMessage = 100,
    CanFdMessage64 = 101,
    EthernetFrameEx = 120,
};

constexpr uint32_t extendedIdFlag = 0x80000000u;
constexpr uint8_t remoteFlag = 0x80;
constexpr uint32_t tenMicroseconds = 1;

constexpr auto le16 = LittleEndian::get16;
constexpr auto le32 = LittleEndian::get32;
constexpr auto le64 = LittleEndian::get64;

const unsigned char objectSignature[] = {'L', 'O', 'B', 'J'};

// The measurement start, a SYSTEMTIME of eight 16-bit fields; 0 when it is
// not a date.
uint64_t systemTimeMicros(const unsigned char* p)
{
    const unsigned year = le16(p), month = le16(p + 2), day = le16(p + 6), hour = le16(p + 8),
                   minute = le16(p + 10), second = le16(p + 12), millis = le16(p + 14);
    if (year < 1970 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 ||
        minute > 59 || second > 60 || millis > 999)
        return 0;
    return LogText::utcMicros(int(year), int(month), int(day), int(hour), int(minute), int(second),
                              uint32_t(millis) * 1000u);
}

} // namespace

BlfReader::BlfReader(const std::string& path, uint8_t fileChannel, RecordingReport& report)
    : path_(path), fileChannel_(fileChannel == 0 ? 1 : fileChannel), report_(report), stream_(path)
{
    if (!stream_.isOpen())
        openError_ = stream_.error();
    else if (!readHeader())
        openError_ = stream_.error().empty() ? "not a binary logging file (no \"LOGG\" header)" : stream_.error();
}

bool BlfReader::hasMagic(const unsigned char* head, size_t size)
{
    return size >= 4 && std::memcmp(head, "LOGG", 4) == 0;
}

std::unique_ptr<RecordingReader> BlfReader::open(const std::string& path, const RecordingSetup& setup,
                                                 std::string& error)
{
    auto reader = std::make_unique<BlfReader>(path, setup.channel, setup.report);
    if (reader->isOpen())
        return reader;
    error = reader->openError();
    return nullptr;
}

bool BlfReader::readHeader()
{
    unsigned char header[fileHeaderBytes];
    if (stream_.readFull(header, sizeof header) != sizeof header || !hasMagic(header, sizeof header))
        return false;
    const uint32_t headerSize = le32(header + 4);
    if (headerSize < fileHeaderBytes || headerSize > largestObject)
        return false;
    start_ = systemTimeMicros(header + 40);
    outer_.resize(headerSize - fileHeaderBytes);
    return stream_.readFull(outer_.data(), outer_.size()) == outer_.size();
}

bool BlfReader::fail(const std::string& text)
{
    report_.error(path_, text);
    ended_ = true;
    return false;
}

BlfReader::Result BlfReader::bad(const char* reason)
{
    report_.badPacket(path_, objects_, reason);
    return Skipped;
}

bool BlfReader::next()
{
    while (!ended_) {
        switch (nextObject()) {
        case Message:
            return true;
        case Skipped:
            break;
        case Failed:
            ended_ = true;
            break;
        case NeedMore:
            if (!readOuterObject() && !ended_) {
                ended_ = true;
                if (inner_.size() - innerBegin_ >= objectBaseBytes)
                    report_.badPacket(path_, objects_ + 1, "object cut off at the end of the file");
                if (!stream_.error().empty())
                    report_.error(path_, stream_.error());
            }
            break;
        }
    }
    if (!skippedReported_) {
        skippedReported_ = true;
        skipped_.report(report_, path_);
    }
    return false;
}

// Reads one object of the file itself: a container's contents, or an object
// stored outside containers, go after what is still unread.
bool BlfReader::readOuterObject()
{
    unsigned char base[objectBaseBytes];
    const size_t got = stream_.readFull(base, sizeof base);
    if (got == 0)
        return false;
    if (got < sizeof base)
        return fail("the file ends inside an object header");
    if (std::memcmp(base, objectSignature, 4) != 0)
        return fail("expected an object (\"LOBJ\") after byte " + std::to_string(stream_.bytesConsumed()));
    const uint32_t size = le32(base + 8), type = le32(base + 12);
    if (size < objectBaseBytes || size > largestObject)
        return fail("object of impossible size " + std::to_string(size));
    outer_.resize(size - objectBaseBytes);
    if (stream_.readFull(outer_.data(), outer_.size()) != outer_.size())
        return fail(stream_.error().empty() ? "the file ends inside an object" : stream_.error());
    unsigned char padding[4];
    stream_.readFull(padding, size % 4);
    // Make room: what was handed out goes.
    inner_.erase(inner_.begin(), inner_.begin() + ptrdiff_t(innerBegin_));
    innerBegin_ = 0;
    if (type == LogContainer)
        return unpackContainer(outer_.data(), outer_.size());
    inner_.insert(inner_.end(), base, base + sizeof base);
    inner_.insert(inner_.end(), outer_.begin(), outer_.end());
    return true;
}

bool BlfReader::unpackContainer(const unsigned char* body, size_t size)
{
    if (size < containerHeaderBytes) {
        bad("container shorter than its header");
        return true;
    }
    const uint16_t method = le16(body);
    const uint32_t uncompressed = le32(body + 8);
    const unsigned char* data = body + containerHeaderBytes;
    const size_t dataSize = size - containerHeaderBytes;
    if (method == 0) {
        inner_.insert(inner_.end(), data, data + dataSize);
        return true;
    }
    if (method != 2) {
        bad("container of unknown compression method");
        return true;
    }
    if (uncompressed > largestObject)
        return fail("container of impossible size " + std::to_string(uncompressed));
    const size_t old = inner_.size();
    inner_.resize(old + uncompressed);
    uLongf produced = uncompressed;
    if (uncompress(inner_.data() + old, &produced, data, uLong(dataSize)) != Z_OK) {
        inner_.resize(old);
        bad("container whose zlib data cannot be decompressed");
        return true;
    }
    inner_.resize(old + produced);
    return true;
}

BlfReader::Result BlfReader::nextObject()
{
    const unsigned char* begin = inner_.data() + innerBegin_;
    const unsigned char* end = inner_.data() + inner_.size();
    const unsigned char* object = std::search(begin, end, objectSignature, objectSignature + 4);
    if (object == end) {
        // Keep what may be the start of a signature.
        innerBegin_ = inner_.size() - std::min<size_t>(inner_.size() - innerBegin_, 3);
        return NeedMore;
    }
    // Writers pad objects to 4 (or 8) bytes; anything longer is damage.
    if (object - begin > 8) {
        innerBegin_ = size_t(object - inner_.data());
        return bad("bytes between objects");
    }
    if (size_t(end - object) < objectBaseBytes)
        return NeedMore;
    const uint16_t headerSize = le16(object + 4), headerVersion = le16(object + 6);
    const uint32_t size = le32(object + 8), type = le32(object + 12);
    if (size > largestObject) {
        report_.error(path_, "object of impossible size " + std::to_string(size));
        return Failed;
    }
    if (size_t(end - object) < size)
        return NeedMore;
    const size_t objectOffset = size_t(object - inner_.data());
    ++objects_;
    if (headerSize < objectBaseBytes + 16 || headerSize > size) {
        innerBegin_ = objectOffset + 4;
        return bad("object header of impossible size");
    }
    innerBegin_ = objectOffset + size;
    if (headerVersion != 1 && headerVersion != 2) {
        ++skipped_.unknown;
        return Skipped;
    }
    const uint32_t flags = le32(object + 16);
    const uint64_t units = le64(object + 24);
    const uint64_t offset = flags == tenMicroseconds ? (units > UINT64_MAX / 10 ? UINT64_MAX : units * 10)
                                                     : units / 1000 + (units % 1000 >= 500 ? 1 : 0);
    if (offset > UINT64_MAX - start_)
        return bad("time stamp out of range");
    return convert(type, object + headerSize, size - headerSize, start_ + offset);
}

BlfReader::Result BlfReader::convert(uint32_t type, const unsigned char* body, size_t size, uint64_t timestamp)
{
    switch (type) {
    case CanMessage:
    case CanMessage2:
        return can(body, size, timestamp);
    case CanFdMessage:
        return canFd(body, size, timestamp);
    case CanFdMessage64:
        return canFd64(body, size, timestamp);
    case CanError:
    case CanErrorExt:
        ++skipped_.error;
        return Skipped;
    case LinMessage:
        return lin(body, size, timestamp);
    case EthernetFrame:
        return ethernet(body, size, timestamp);
    case EthernetFrameEx:
        return ethernetEx(body, size, timestamp);
    case FlexRayReceive:
        return flexRay(body, size, timestamp, 44);
    case FlexRayReceiveEx:
        return flexRay(body, size, timestamp, 84);
    default:
        ++skipped_.unknown;
        return Skipped;
    }
}

bool BlfReader::channelOf(uint16_t objectChannel, uint8_t& channel) const
{
    // Channels count from 1; a writer that wrote 0 meant the first.
    const unsigned number = (objectChannel == 0 ? 1u : objectChannel) + fileChannel_ - 1u;
    if (number > 255)
        return false;
    channel = uint8_t(number);
    return true;
}

// channel, flags, data length code, identifier, 8 data bytes.
BlfReader::Result BlfReader::can(const unsigned char* body, size_t size, uint64_t timestamp)
{
    if (size < 16)
        return bad("CAN message shorter than its fields");
    if (body[2] & remoteFlag) {
        ++skipped_.remote;
        return Skipped;
    }
    message_.canFdFlags = 0;
    return canFrame(le16(body), le32(body + 4), false, body + 8, std::min<size_t>(body[3], 8), timestamp);
}

// channel, flags, data length code, identifier, frame length, bit count, FD
// flags, valid data bytes, 5 reserved bytes, 64 data bytes.
BlfReader::Result BlfReader::canFd(const unsigned char* body, size_t size, uint64_t timestamp)
{
    if (size < 20)
        return bad("CAN FD message shorter than its fields");
    if (body[2] & remoteFlag) {
        ++skipped_.remote;
        return Skipped;
    }
    const size_t length = std::min<size_t>({body[14], 64, size - 20});
    message_.canFdFlags = uint8_t((body[13] >> 1) & 0x3);
    return canFrame(le16(body), le32(body + 4), body[13] & 0x01, body + 20, length, timestamp);
}

// channel (8 bits), data length code, valid data bytes, transmit count,
// identifier, frame length, flags, bit rates, time offsets, bit count,
// direction, extra data offset, CRC; then the data.
BlfReader::Result BlfReader::canFd64(const unsigned char* body, size_t size, uint64_t timestamp)
{
    constexpr size_t fieldBytes = 40;
    if (size < fieldBytes)
        return bad("CAN FD message shorter than its fields");
    const uint32_t flags = le32(body + 12);
    if (flags & 0x0010) {
        ++skipped_.remote;
        return Skipped;
    }
    const size_t length = std::min<size_t>({body[2], 64, size - fieldBytes});
    message_.canFdFlags = uint8_t((flags >> 13) & 0x3);
    return canFrame(body[0], le32(body + 4), flags & 0x1000, body + fieldBytes, length, timestamp);
}

BlfReader::Result BlfReader::canFrame(uint16_t channel, uint32_t id, bool fd, const unsigned char* data,
                                      size_t length, uint64_t timestamp)
{
    CANExtTraceMessage& frame = message_.can;
    const bool extended = id & extendedIdFlag;
    const uint32_t canId = id & 0x1fffffffu;
    if (!extended && canId > 0x7ff)
        return bad("standard identifier beyond 0x7ff");
    if (!channelOf(channel, frame.channel))
        return bad("channel beyond 255");
    message_.kind = RecordedMessage::Can;
    frame.timestamp = timestamp;
    frame.canId = canId;
    frame.frameFormat = (extended ? 1u : 0u) + (fd || length > 8 ? 2u : 0u);
    frame.length = uint8_t(length);
    std::memcpy(frame.payload, data, length);
    std::memset(frame.payload + length, 0, sizeof frame.payload - length);
    return Message;
}

// channel, identifier, data length code, 8 data bytes, then state and timing
// fields.
BlfReader::Result BlfReader::lin(const unsigned char* body, size_t size, uint64_t timestamp)
{
    if (size < 12)
        return bad("LIN message shorter than its fields");
    LINTraceMessage& frame = message_.lin;
    if (!channelOf(le16(body), frame.channel))
        return bad("channel beyond 255");
    message_.kind = RecordedMessage::Lin;
    frame.timestamp = timestamp;
    frame.protectedId = body[2];
    frame.data.assign(body + 4, body + 4 + std::min<size_t>(body[3], 8));
    return Message;
}

// Source address, channel, destination address, direction, EtherType, VLAN
// TPID and TCI, payload length, 8 reserved bytes, payload: the frame is put
// together again in wire order.
BlfReader::Result BlfReader::ethernet(const unsigned char* body, size_t size, uint64_t timestamp)
{
    size_t length = 0;
    const Result fields = ethernetFields(body, size, 6, timestamp, length);
    if (fields != Message)
        return fields;
    MIITraceMessage& frame = message_.ethernet;
    const uint16_t type = le16(body + 16), tpid = le16(body + 18), tci = le16(body + 20);
    frame.frame.assign(body + 8, body + 14);
    frame.frame.insert(frame.frame.end(), body, body + 6);
    const auto bigEndian = [&frame](uint16_t value) {
        frame.frame.push_back(uint8_t(value >> 8));
        frame.frame.push_back(uint8_t(value));
    };
    if (tpid != 0) {
        bigEndian(tpid);
        bigEndian(tci);
    }
    bigEndian(type);
    frame.frame.insert(frame.frame.end(), body + ethernetFieldBytes, body + ethernetFieldBytes + length);
    return Message;
}

// Structure length, flags, channel, hardware channel, frame duration,
// checksum, direction, frame length, handle, reserved; then the whole frame.
BlfReader::Result BlfReader::ethernetEx(const unsigned char* body, size_t size, uint64_t timestamp)
{
    size_t length = 0;
    const Result fields = ethernetFields(body, size, 4, timestamp, length);
    if (fields == Message)
        message_.ethernet.frame.assign(body + ethernetFieldBytes, body + ethernetFieldBytes + length);
    return fields;
}

// What both Ethernet objects share: 32 bytes of fields, the channel at
// `channelAt`, the payload's length at byte 22 (cut to what the object
// holds), then the payload.
BlfReader::Result BlfReader::ethernetFields(const unsigned char* body, size_t size, size_t channelAt,
                                            uint64_t timestamp, size_t& length)
{
    if (size < ethernetFieldBytes)
        return bad("Ethernet frame shorter than its fields");
    MIITraceMessage& frame = message_.ethernet;
    if (!channelOf(le16(body + channelAt), frame.channel))
        return bad("channel beyond 255");
    length = std::min<size_t>(le16(body + 22), size - ethernetFieldBytes);
    message_.kind = RecordedMessage::Ethernet;
    frame.timestamp = timestamp;
    return Message;
}

// Channel, version, channel mask, direction, client index, cluster, slot,
// two header CRCs, byte count, data count, cycle, controller type, register
// flags, frame flags, application parameter (and, for the extended object,
// more fields up to `dataOffset`); then the payload.
BlfReader::Result BlfReader::flexRay(const unsigned char* body, size_t size, uint64_t timestamp,
                                     size_t dataOffset)
{
    constexpr uint32_t nullFrame = 1u << 0, errorFrame = 1u << 6, pduEvent = 1u << 16, dynamicSegment = 1u << 20;
    if (size < dataOffset)
        return bad("FlexRay frame shorter than its fields");
    const uint32_t flags = le32(body + 36);
    if (flags & errorFrame) {
        ++skipped_.error;
        return Skipped;
    }
    if (flags & (nullFrame | pduEvent))
        return Skipped; // no payload; a PDU is also in its frame's payload
    FlexRayExtTraceMessage& frame = message_.flexRay;
    if (!channelOf(le16(body), frame.channel))
        return bad("channel beyond 255");
    const unsigned char* data = body + dataOffset;
    const size_t length = std::min<size_t>({le16(body + 24), 254, size - dataOffset});
    message_.kind = RecordedMessage::FlexRay;
    frame.timestamp = timestamp;
    frame.frameKind = flags & dynamicSegment ? 17 : 16;
    frame.slot = le16(body + 16);
    frame.cycle = body[26] & 0x3f;
    frame.data.assign(data, data + length);
    frame.payload.assign(data, data + length);
    return Message;
}

} // namespace rksignal
