#include "FloorWorkload.h"

#include <cstring>
#include <random>

namespace {

constexpr uint32_t extendedFlag = 0x80000000u;

uint32_t tableKey(uint32_t canId, bool extended)
{
    return canId | (extended ? extendedFlag : 0u);
}

WorkloadSignal randomSignal(std::mt19937_64& rng)
{
    static const double factors[] = {1.0, 0.5, 0.1, 0.01, 0.25, 2.0, 0.05, 10.0};
    static const double offsets[] = {0.0, -40.0, -100.0, 0.0, 1.5, -0.5, 273.15, 0.0};
    WorkloadSignal s{};
    s.bits = uint8_t(1 + rng() % 32);
    s.bigEndian = rng() % 2 != 0;
    s.isSigned = rng() % 2 != 0;
    s.factor = factors[rng() % 8];
    s.offset = offsets[rng() % 8];
    // A place inside the 8 bytes, counted from the field's first bit in the
    // byte order's own numbering.
    const unsigned first = unsigned(rng() % (64u - s.bits + 1u));
    // Big endian: `first` counts most significant bit first, byte by byte;
    // the start bit names that bit in the usual numbering.
    s.startbit = uint16_t(s.bigEndian ? (first & ~7u) + 7u - (first & 7u) : first);
    return s;
}

FloorWorkload build()
{
    FloorWorkload w;
    std::mt19937_64 rng(20240615);
    for (int m = 0; m < FloorWorkload::messageCount; ++m) {
        WorkloadMessage message;
        message.extended = m % 4 == 3;
        message.canId = message.extended ? 0x18f00000u + uint32_t(m) * 7u : 0x100u + uint32_t(m) * 5u;
        for (int s = 0; s < FloorWorkload::signalsPerMessage; ++s)
            message.signals.push_back(randomSignal(rng));
        w.messages.push_back(message);
    }
    w.frames.resize(FloorWorkload::frameCount);
    for (int f = 0; f < FloorWorkload::frameCount; ++f) {
        CANExtTraceMessage& frame = w.frames[size_t(f)];
        const WorkloadMessage& message = w.messages[rng() % w.messages.size()];
        frame.timestamp = uint64_t(f) + 1;
        frame.frameFormat = message.extended ? 1 : 0;
        frame.canId = message.canId;
        frame.length = 8;
        const uint64_t bytes = rng();
        std::memcpy(frame.payload, &bytes, sizeof bytes);
    }
    return w;
}

} // namespace

const FloorWorkload& FloorWorkload::get()
{
    static const FloorWorkload workload = build();
    return workload;
}

FloorDecoder::FloorDecoder(const FloorWorkload& workload)
{
    std::memset(messageOf_, 0xff, sizeof messageOf_);
    for (size_t m = 0; m < workload.messages.size(); ++m) {
        const WorkloadMessage& message = workload.messages[m];
        const uint32_t key = tableKey(message.canId, message.extended);
        unsigned i = hash(key);
        while (messageOf_[i] >= 0)
            i = (i + 1) & (tableSize - 1);
        keys_[i] = key;
        messageOf_[i] = int16_t(m);
        for (const WorkloadSignal& s : message.signals) {
            Field f{};
            // Little endian: the lsb is the start bit of the word. Big
            // endian: in the byte-swapped word the msb-first position p of
            // the field's first bit is bit 63 - p.
            const unsigned msbFirst = (s.startbit & ~7u) + 7u - (s.startbit & 7u);
            f.shift = uint8_t(s.bigEndian ? 64u - msbFirst - s.bits : s.startbit);
            f.bigEndian = s.bigEndian;
            f.mask = s.bits >= 64 ? ~uint64_t(0) : (uint64_t(1) << s.bits) - 1;
            f.signBit = s.isSigned ? uint64_t(1) << (s.bits - 1) : 0;
            f.factor = s.factor;
            f.offset = s.offset;
            fields_.push_back(f);
        }
    }
    records_.assign(fields_.size(), Record{0.0, 0, false});
}

int FloorDecoder::find(uint32_t key) const
{
    for (unsigned i = hash(key);; i = (i + 1) & (tableSize - 1)) {
        if (messageOf_[i] < 0)
            return -1;
        if (keys_[i] == key)
            return messageOf_[i];
    }
}

void FloorDecoder::decode(const CANExtTraceMessage& frame)
{
    const int message = find(tableKey(frame.canId, frame.frameFormat & 1));
    if (message < 0)
        return;
    uint64_t little;
    std::memcpy(&little, frame.payload, sizeof little);
    const uint64_t big = __builtin_bswap64(little);
    const Field* field = &fields_[size_t(message) * FloorWorkload::signalsPerMessage];
    Record* record = &records_[size_t(message) * FloorWorkload::signalsPerMessage];
    for (int s = 0; s < FloorWorkload::signalsPerMessage; ++s, ++field, ++record) {
        const uint64_t word = field->bigEndian ? big : little;
        const uint64_t raw = (word >> field->shift) & field->mask;
        const int64_t number = int64_t((raw ^ field->signBit) - field->signBit);
        record->value = double(number) * field->factor + field->offset;
        record->timestamp = frame.timestamp;
        record->valid = true;
    }
}
