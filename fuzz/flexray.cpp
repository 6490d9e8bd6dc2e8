// Fuzz target: FlexRay frames through FlexRaySignal::decodeMessage, and
// stored FlexRay records through FlexRaySignal::signalsInUse.
//
// Fixed signals: one with three positions (so two mirror children) in
// different cycles, one behind an update bit, PDU signals, a field at the
// far end of a long frame, an update bit no payload reaches, and a cycle
// table whose counter wraps. Input: a debug selector byte, then frames: a
// byte picking a known frame (or, past them, tslId, frame kind, channel and
// slot from the input), the cycle byte, 16-bit data and payload sizes, and
// the payload bytes (zero-filled where the input ends). A record of the
// frame, cut to a length from the input, is then asked about.
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "bus/FlexRaySignal.h"

#include <array>

namespace {

constexpr uint8_t staticFrame = 16;
constexpr uint8_t dynamicFrame = 17;

struct FrameIdentity {
    uint8_t tslId;
    uint8_t frameKind;
    uint8_t channel;
    uint16_t slot;
};

constexpr std::array<FrameIdentity, 4> knownFrames{{
    {0, staticFrame, 1, 10},
    {1, dynamicFrame, 2, 200},
    {0, staticFrame, 0, 2047},
    {0, dynamicFrame, 1, 10},
}};

constexpr size_t maxFrames = 48;
constexpr size_t longestFrame = 700;
constexpr size_t longestRecord = 40;

flexRayPosition_t position(const FrameIdentity& frame, uint16_t startBit, uint8_t baseCycle, uint8_t repetition)
{
    flexRayPosition_t p;
    p.startBit = startBit;
    p.type = frame.frameKind == staticFrame;
    p.slot = frame.slot;
    p.baseCycle = baseCycle;
    p.repetition = repetition;
    return p;
}

void add(SignalStorage& storage, const char* name, const FrameIdentity& frame, uint8_t bits, bool bigEndian,
         signalValue_t type, std::vector<flexRayPosition_t> positions)
{
    flexRaySignalDef_t def;
    def.instance = name;
    def.signal = name;
    def.tslId = frame.tslId;
    def.channel = frame.channel;
    def.bits = bits;
    def.endian = bigEndian;
    def.type = type;
    def.positions = std::move(positions);
    new FlexRaySignal(def, false, &storage); // kept, with its children, for the whole process
}

template <class T>
flexRayPosition_t with(flexRayPosition_t p, std::optional<T> flexRayPosition_t::*member, T value)
{
    p.*member = value;
    return p;
}

SignalStorage& signals()
{
    static SignalStorage* storage = [] {
        auto* built = new SignalStorage;
        const FrameIdentity& first = knownFrames[0];
        add(*built, "fr.threePlaces", first, 12, false, SIGNAL_UNSIGNED,
            {position(first, 8, 0, 4),
             with<uint16_t>(position(first, 20, 1, 4), &flexRayPosition_t::updateBit, 3),
             with<uint32_t>(position(first, 0, 2, 2), &flexRayPosition_t::pduId, 0x10)});
        add(*built, "fr.pduSigned", first, 16, true, SIGNAL_SIGNED,
            {with<uint32_t>(position(first, 15, 0, 1), &flexRayPosition_t::pduId, 0x20),
             with<uint32_t>(position(first, 7, 3, 8), &flexRayPosition_t::pduId, 0xffffffff)});
        const FrameIdentity& dynamic = knownFrames[1];
        add(*built, "fr.double", dynamic, 64, true, SIGNAL_DOUBLE,
            {position(dynamic, 7, 0, 1), position(dynamic, 71, 0, 1)});
        add(*built, "fr.unreachableUpdate", dynamic, 8, false, SIGNAL_UNSIGNED,
            {with<uint16_t>(position(dynamic, 0, 0, 0), &flexRayPosition_t::updateBit, 65535)});
        const FrameIdentity& last = knownFrames[2];
        add(*built, "fr.farEnd", last, 32, false, SIGNAL_FLOAT, {position(last, 4064, 0, 1)});
        add(*built, "fr.wrappingCycles", last, 1, false, SIGNAL_UNSIGNED, {position(last, 5, 60, 200)});
        add(*built, "fr.rejected", last, 65, false, SIGNAL_UNSIGNED, {position(last, 0, 0, 1)});
        add(*built, "fr.noPositions", last, 8, false, SIGNAL_UNSIGNED, {});
        const FrameIdentity& shared = knownFrames[3];
        add(*built, "fr.dynamicTwin", shared, 64, false, SIGNAL_SIGNED,
            {with<uint16_t>(position(shared, 0, 0, 1), &flexRayPosition_t::updateBit, 0)});
        return built;
    }();
    return *storage;
}

FrameIdentity frameIdentity(FuzzInput& in)
{
    const size_t choice = in.byte();
    if (choice < knownFrames.size())
        return knownFrames[choice];
    FrameIdentity free{};
    free.tslId = in.byte();
    free.frameKind = in.byte();
    free.channel = in.byte();
    free.slot = in.number<uint16_t>();
    return free;
}

// The stored record signalsInUse reads: frame kind at byte 14, channel at
// 15, slot big-endian at 19, cycle at 24; exactly `length` bytes long.
void askInUse(const FlexRayExtTraceMessage& frame, uint8_t tslId, size_t length, SignalStorage& storage)
{
    std::array<unsigned char, longestRecord> full{};
    full[14] = frame.frameKind;
    full[15] = frame.channel;
    full[19] = static_cast<unsigned char>(frame.slot >> 8);
    full[20] = static_cast<unsigned char>(frame.slot);
    full[24] = frame.cycle;
    const std::vector<unsigned char> record(full.begin(), full.begin() + length);
    const bool inUse = FlexRaySignal::signalsInUse(record.data(), record.data() + record.size(), tslId, &storage);
    const bool filed = FlexRaySignal::flexrayFrames.count(FlexRaySignal::frameKey(
        tslId, frame.channel, frame.slot, frame.cycle, frame.frameKind == staticFrame));
    const bool asked = length > 24 && (frame.frameKind == staticFrame || frame.frameKind == dynamicFrame);
    fuzz::require(inUse == (asked && filed), "a whole record is in use exactly when its frame key is filed");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SignalStorage& storage = signals();
    FuzzInput in(data, size);
    fuzz::decodeMessages(in, storage, maxFrames, [&](uint64_t timestamp, auto& ids) {
        const FrameIdentity identity = frameIdentity(in);
        FlexRayExtTraceMessage frame;
        frame.timestamp = timestamp;
        frame.frameKind = identity.frameKind;
        frame.channel = identity.channel;
        frame.slot = identity.slot;
        frame.cycle = in.byte();
        frame.data.resize(in.number<uint16_t>() % longestFrame);
        frame.payload.resize(in.number<uint16_t>() % longestFrame);
        in.copy(frame.payload.data(), frame.payload.size());

        const bool written = FlexRaySignal::decodeMessage(frame, ids, identity.tslId, &storage);
        fuzz::requireWritten(written, ids, frame.timestamp, &storage);
        askInUse(frame, identity.tslId, in.pick(longestRecord + 1), storage);
    });
    return 0;
}
