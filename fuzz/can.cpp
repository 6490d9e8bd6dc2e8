// Fuzz target: CAN and CAN FD frames through CANSignal::decodeMessage, and
// stored CAN records through CANSignal::signalsInUse.
//
// The signals are fixed: classic fields of both byte orders (one reaching
// past byte 7, one below byte 0), CAN FD byte ranges up to the end of the
// 64-byte payload, PDU signals, and two multiplexers whose second stages hold
// a classic and a CAN FD signal. Input: a debug selector byte, then frames.
// Each frame starts with a byte that picks one of the known frame identities
// (or, past them, reads a free one from the input), then its length byte and
// min(length, 64) payload bytes.
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "bus/CANSignal.h"

#include <array>
#include <cstring>

namespace {

struct FrameIdentity {
    uint8_t tslId;
    uint8_t channel;
    uint32_t frameFormat; // 0 standard, 1 extended, 2 FD standard, 3 FD extended
    uint32_t canId;
};

constexpr std::array<FrameIdentity, 5> knownFrames{{
    {0, 1, 0, 0x123},      // classic fields
    {0, 1, 3, 0x1abcde},   // CAN FD ranges and PDUs
    {3, 2, 0, 0x300},      // multiplexers
    {0, 2, 1, 0x18fef100}, // one 64-bit signed field
    {0, 1, 2, 0x123},      // CAN FD on the classic frame's identifier
}};

constexpr size_t maxFrames = 64;

struct Field {
    const char* name;
    uint16_t startbit;
    uint8_t bits;
    bool bigEndian;
    signalValue_t type;
};

canSignalDef_t definition(const FrameIdentity& frame, const Field& field)
{
    canSignalDef_t def;
    def.instance = field.name;
    def.signal = field.name;
    def.tslId = frame.tslId;
    def.channel = frame.channel;
    def.msgId = frame.canId;
    def.extended = frame.frameFormat == 1 || frame.frameFormat == 3;
    def.canFD = frame.frameFormat >= 2;
    def.startbit = field.startbit;
    def.bits = field.bits;
    def.endian = field.bigEndian;
    def.type = field.type;
    def.scale = 0.5;
    def.offset = -3;
    return def;
}

CANSignal* add(SignalStorage& storage, const canSignalDef_t& def)
{
    return new CANSignal(def, false, &storage); // kept for the whole process
}

void addFields(SignalStorage& storage, const FrameIdentity& frame, std::initializer_list<Field> fields)
{
    for (const Field& field : fields)
        add(storage, definition(frame, field));
}

void addPduSignal(SignalStorage& storage, const char* name, uint32_t pduId, uint16_t startbit, uint8_t bits)
{
    canSignalDef_t def = definition(knownFrames[1], {name, startbit, bits, false, SIGNAL_UNSIGNED});
    def.pduId = pduId;
    add(storage, def);
}

// Files `signal` for the second stage of the multiplexer frame, under the
// frame key plus the multiplexer terms, as clients do.
void fileSecondStage(CANSignal* signal, uint64_t terms)
{
    const FrameIdentity& frame = knownFrames[2];
    const uint64_t key = CANSignal::canKey(frame.tslId, frame.channel, frame.canId, false, false) + terms;
    CANSignal::canContainer[key].push_back(signal);
}

void addMultiplexers(SignalStorage& storage)
{
    const FrameIdentity& frame = knownFrames[2];
    canSignalDef_t selector = definition(frame, {"mux.selector", 0, 8, false, SIGNAL_UNSIGNED});
    selector.multiplexer = 1;
    add(storage, selector);
    canSignalDef_t second = definition(frame, {"mux.second", 14, 2, true, SIGNAL_UNSIGNED});
    second.multiplexer = 1;
    add(storage, second);

    // Their own frame keys are never received; they matter as second stages.
    const FrameIdentity unused{0, 9, 0, 0x7ff};
    canSignalDef_t classic = definition(unused, {"mux.classic", 16, 16, false, SIGNAL_SIGNED});
    canSignalDef_t fd = definition({0, 9, 2, 0x7ff}, {"mux.fdTail", 480, 64, false, SIGNAL_UNSIGNED});
    canSignalDef_t nested = definition(unused, {"mux.nested", 40, 8, true, SIGNAL_UNSIGNED});
    fileSecondStage(add(storage, classic), CANSignal::multiplexerTerm(0));
    fileSecondStage(add(storage, fd), CANSignal::multiplexerTerm(1));
    fileSecondStage(add(storage, nested), CANSignal::multiplexerTerm(1) + CANSignal::multiplexerTerm(2));
}

SignalStorage& signals()
{
    static SignalStorage* storage = [] {
        auto* built = new SignalStorage;
        addFields(*built, knownFrames[0],
                  {{"can.le12", 4, 12, false, SIGNAL_UNSIGNED},
                   {"can.be16", 23, 16, true, SIGNAL_SIGNED},
                   {"can.float", 32, 32, false, SIGNAL_FLOAT},
                   {"can.bit63", 63, 1, false, SIGNAL_UNSIGNED},
                   {"can.pastByte7", 8, 64, false, SIGNAL_UNSIGNED},
                   {"can.belowByte0", 0, 16, true, SIGNAL_UNSIGNED}});
        addFields(*built, knownFrames[1],
                  {{"canfd.tail", 480, 32, false, SIGNAL_UNSIGNED},
                   {"canfd.double", 64, 64, false, SIGNAL_DOUBLE},
                   {"canfd.be24", 135, 24, true, SIGNAL_SIGNED},
                   {"canfd.rejected", 4, 64, false, SIGNAL_UNSIGNED}});
        addPduSignal(*built, "pdu.20", 0x20, 8, 16);
        addPduSignal(*built, "pdu.30", 0x30, 0, 64);
        addPduSignal(*built, "pdu.max", 0xffffff, 60, 4);
        addMultiplexers(*built);
        addFields(*built, knownFrames[3], {{"ext.s64", 0, 64, false, SIGNAL_SIGNED}});
        addFields(*built, knownFrames[4],
                  {{"fd123.byte0", 0, 8, false, SIGNAL_UNSIGNED}, {"fd123.be", 7, 64, true, SIGNAL_DOUBLE}});
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
    free.channel = in.byte();
    free.frameFormat = in.number<uint32_t>();
    free.canId = in.number<uint32_t>();
    return free;
}

// The stored record signalsInUse reads: channel at byte 14, the identifier
// word with the extended (bit 31) and FD (bit 30) flags big-endian at 18.
void askInUse(const FrameIdentity& frame, SignalStorage& storage)
{
    const bool extended = frame.frameFormat == 1 || frame.frameFormat == 3;
    const bool canFD = frame.frameFormat == 2 || frame.frameFormat == 3;
    const uint32_t word = frame.canId + (extended ? 1u << 31 : 0) + (canFD ? 1u << 30 : 0);
    std::array<unsigned char, 22> record{};
    record[14] = frame.channel;
    for (int i = 0; i < 4; ++i)
        record[18 + i] = static_cast<unsigned char>(word >> (24 - 8 * i));
    const bool inUse = CANSignal::signalsInUse(record.data(), nullptr, frame.tslId, &storage);
    const bool filed =
        CANSignal::canContainer.count(CANSignal::canKey(frame.tslId, frame.channel, frame.canId, extended, canFD));
    if (frame.canId < (1u << 29))
        fuzz::require(inUse == filed, "a record is in use exactly when its frame key is filed");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SignalStorage& storage = signals();
    FuzzInput in(data, size);
    fuzz::decodeMessages(in, storage, maxFrames, [&](uint64_t timestamp, auto& ids) {
        const FrameIdentity identity = frameIdentity(in);
        CANExtTraceMessage frame;
        frame.timestamp = timestamp;
        frame.channel = identity.channel;
        frame.frameFormat = identity.frameFormat;
        frame.canId = identity.canId;
        frame.length = in.byte();
        in.copy(frame.payload, std::min<size_t>(frame.length, sizeof frame.payload));

        const bool written = CANSignal::decodeMessage(frame, ids, identity.tslId, &storage);
        fuzz::requireWritten(written, ids, frame.timestamp, &storage);
        askInUse(identity, storage);
    });
    return 0;
}
