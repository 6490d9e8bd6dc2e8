// The bit-field codec of BaseSignal: derived bit positions, extraction,
// scaling, and the locked value operations of the per-message path.
//
// Everything here runs for every received message: no allocation, and debug
// formatting only behind one test of the debug level.
#include "signal/BaseSignal.h"

#include "signal/MessageLine.h"

#include <cstring>
#include <iomanip>

namespace {

constexpr int payloadBytes = 8;

// Byte `index` of the little-endian payload word; bytes outside the first
// eight read as zero, so a definition that points elsewhere never reaches
// beyond the payload.
inline uint64_t payloadByte(uint64_t payload, int index)
{
    return (index >= 0 && index < payloadBytes) ? (payload >> (8 * index)) & 0xffu : 0u;
}

} // namespace

void BaseSignal::cInit()
{
    const unsigned bits = def.bits;
    unsigned lsb = def.startbit;
    if (def.endian) {
        // Big endian: startbit is the most significant bit; walk the field in
        // a byte-wise most-significant-first numbering to find its lsb.
        const unsigned m = (def.startbit & ~7u) + 7u - (def.startbit & 7u);
        const unsigned p = m + bits - 1u;
        lsb = (p & ~7u) + 7u - (p & 7u);
    }
    d_lsbBit = static_cast<uint8_t>(lsb);
    d_startByte = d_lsbBit / 8;
    d_shift = d_lsbBit % 8;
    // (bits - 1) may be -1 for a zero width; the division truncates toward zero.
    d_bytes = static_cast<uint8_t>((int(d_lsbBit) + int(bits) - 1) / 8 - int(d_startByte) + 1);
    d_maksBits = bits >= 64 ? ~uint64_t(0) : (uint64_t(1) << bits) - 1u;
    d_signBit = uint64_t(1) << ((bits + 63u) % 64u);

    uint8_t buffer[payloadBytes] = {};
    uint64_t w = d_maksBits << d_shift;
    const int step = def.endian ? -1 : 1;
    for (int n = 0, index = d_startByte; n < d_bytes && w != 0; ++n, index += step, w >>= 8)
        if (index >= 0 && index < payloadBytes)
            buffer[index] = static_cast<uint8_t>(w);
    d_rawMask = 0;
    for (int i = payloadBytes - 1; i >= 0; --i)
        d_rawMask = (d_rawMask << 8) | buffer[i];

    deriveSignExtension();
    d_inWord = d_bytes != 0 && fieldInsidePayload();
    d_wordBigEndian = d_inWord && def.endian;
    d_wordShift = d_shift;
    if (d_inWord)
        d_wordShift = uint8_t(d_shift + 8 * (def.endian ? payloadBytes - 1 - d_startByte : d_startByte));

    if (debug)
        MessageLine::debug("BaseSignal", "cInit", def.instance, ":d_lsbBit=", std::dec, unsigned(d_lsbBit),
                           ",d_startByte=", unsigned(d_startByte), ",d_bytes=", unsigned(d_bytes),
                           ",d_shift=", unsigned(d_shift), std::hex, ",d_maksBits=", d_maksBits,
                           ",d_signBit=", d_signBit, ",d_rawMask=", std::setfill('0'), std::setw(16), d_rawMask,
                           std::dec, std::setfill(' '));
}

uint64_t BaseSignal::accumulateBytes(unsigned long payload) const
{
    uint64_t acc = 0;
    if (def.endian) {
        // The lowest-numbered byte is the most significant.
        for (int i = int(d_startByte) - (int(d_bytes) - 1); i <= int(d_startByte); ++i)
            acc = (acc << 8) | payloadByte(payload, i);
    } else {
        // The highest-numbered byte is the most significant.
        for (int i = int(d_startByte) + int(d_bytes) - 1; i >= int(d_startByte); --i)
            acc = (acc << 8) | payloadByte(payload, i);
    }
    return acc;
}

bool BaseSignal::fieldInsidePayload() const
{
    if (d_bytes > payloadBytes)
        return false;
    return def.endian ? (d_startByte < payloadBytes && d_bytes <= d_startByte + 1)
                      : (d_startByte + d_bytes <= payloadBytes);
}

void BaseSignal::traceDecode(unsigned long payload, uint64_t item) const
{
    char bytes[3 * payloadBytes];
    for (int i = 0; i < payloadBytes; ++i) {
        static const char digits[] = "0123456789abcdef";
        const unsigned byte = static_cast<unsigned>(payloadByte(payload, i));
        bytes[3 * i] = digits[byte >> 4];
        bytes[3 * i + 1] = digits[byte & 0xf];
        bytes[3 * i + 2] = i + 1 < payloadBytes ? '-' : '\0';
    }
    MessageLine::debug("BaseSignal", "decode", def.instance, ": ", bytes);
    MessageLine::debug("BaseSignal", "decode", def.instance, ": ", def.endian ? "big" : "little",
                       " endian, bits = ", std::dec, unsigned(def.bits), ", startbit = ", def.startbit,
                       ", maskBits = ", std::hex, d_maksBits, ", signBit = ", d_signBit, ", item = ",
                       std::setfill('0'), std::setw(16), item, std::dec, std::setfill(' '));
}

void BaseSignal::physical()
{
    const uint64_t raw = slot->raw;
    const signalValue_t type = def.type;
    double number;
    if (__builtin_expect(type <= SIGNAL_SIGNED, 1)) {
        // One conversion serves both kinds while an unsigned value fits in
        // 63 bits, so that signals of both kinds mixed cost no misprediction.
        const uint64_t unsignedBits = uint64_t(0) - uint64_t(type == SIGNAL_UNSIGNED);
        if (__builtin_expect(static_cast<int64_t>(raw & unsignedBits) < 0, 0))
            number = static_cast<double>(raw);
        else
            number = static_cast<double>(static_cast<int64_t>(raw));
    } else if (type == SIGNAL_FLOAT) {
        const uint32_t low = static_cast<uint32_t>(raw);
        float single;
        std::memcpy(&single, &low, sizeof single);
        number = single;
    } else if (type == SIGNAL_DOUBLE) {
        std::memcpy(&number, &raw, sizeof number);
    } else {
        return;
    }
    value = number * def.scale + def.offset;
}

// Out of line and cold, so that the reads keep their registers for the
// common case.
__attribute__((noinline, cold)) void BaseSignal::traceRead() const
{
    MessageLine::debug("BaseSignal", "read", *this);
}

void BaseSignal::traceValue(const char* operation, bool changed)
{
    physical();
    MessageLine::debug("BaseSignal", operation, changed ? "" : "(no change) ", *this);
}

bool BaseSignal::write(unsigned long payload, unsigned long timestamp)
{
    return debug ? writeWord<true>(payload, timestamp) : writeWord<false>(payload, timestamp);
}

bool BaseSignal::write(const unsigned char* data, unsigned long length, unsigned long timestamp)
{
    return write(payloadWord(data, length), timestamp);
}

bool BaseSignal::writeRaw(unsigned long raw, unsigned long timestamp)
{
    const auto nothingBefore = [] {};
    return debug ? storeValue<true>(raw, timestamp, "writeRaw", nothingBefore)
                 : storeValue<false>(raw, timestamp, "writeRaw", nothingBefore);
}

bool BaseSignal::writeTS(unsigned long timestamp)
{
    if (shmem)
        lock();
    slot->timestamp = timestamp;
    if (shmem)
        unlock();
    return true;
}

// The reads come in two forms: the plain one, a leaf without calls, and the
// one that locks the slot and traces, out of line so that the plain one keeps
// its registers.
template <bool Guarded>
bool BaseSignal::readSlot(unsigned long& raw, unsigned long& timestamp)
{
    if (Guarded && shmem)
        lock();
    const bool valid = slot->valid;
    raw = slot->raw;
    timestamp = slot->timestamp;
    if (Guarded && debug) {
        physical();
        traceRead();
    }
    if (Guarded && shmem)
        unlock();
    return valid;
}

template <bool Guarded>
bool BaseSignal::readSlot(double& result, unsigned long& timestamp)
{
    if (Guarded && shmem)
        lock();
    const bool valid = slot->valid;
    physical();
    result = value;
    timestamp = slot->timestamp;
    if (Guarded && debug)
        traceRead();
    if (Guarded && shmem)
        unlock();
    return valid;
}

bool BaseSignal::read(unsigned long& raw, unsigned long& timestamp)
{
    if (__builtin_expect(shmem || debug, 0))
        return readGuarded(raw, timestamp);
    return readSlot<false>(raw, timestamp);
}

bool BaseSignal::read(double& result, unsigned long& timestamp)
{
    if (__builtin_expect(shmem || debug, 0))
        return readGuarded(result, timestamp);
    return readSlot<false>(result, timestamp);
}

__attribute__((noinline)) bool BaseSignal::readGuarded(unsigned long& raw, unsigned long& timestamp)
{
    return readSlot<true>(raw, timestamp);
}

__attribute__((noinline)) bool BaseSignal::readGuarded(double& result, unsigned long& timestamp)
{
    return readSlot<true>(result, timestamp);
}

void BaseSignal::clear()
{
    slot->valid = false;
    slot->raw = 0;
    slot->timestamp = 0;
    value = 0.0;
    modified = true;
}
