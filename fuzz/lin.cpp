// Fuzz target: LIN frames through LINSignal::decodeMessage, and stored LIN
// records through LINSignal::signalsInUse.
//
// Fixed signals on two frames (one addressed with its parity bits set in the
// definition). Input: a debug selector byte, then frames: a byte picking a
// known frame (or, past them, tslId, channel and protected identifier from
// the input), a 16-bit data length (lengths from 256 on wrap as the frame's
// 8-bit count does) and the data bytes, zero-filled where the input ends.
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "bus/LINSignal.h"

#include <array>

namespace {

struct FrameIdentity {
    uint8_t tslId;
    uint8_t channel;
    uint8_t protectedId;
};

constexpr std::array<FrameIdentity, 2> knownFrames{{{0, 1, 0x3c}, {2, 4, 0xc5}}};
constexpr size_t maxFrames = 64;
constexpr size_t longestData = 600;

void add(SignalStorage& storage, const char* name, const FrameIdentity& frame, uint16_t startbit, uint8_t bits,
         bool bigEndian, signalValue_t type)
{
    linSignalDef_t def;
    def.instance = name;
    def.signal = name;
    def.tslId = frame.tslId;
    def.channel = frame.channel;
    def.msgId = frame.protectedId | 0xc0u; // parity bits drop out of the key
    def.startbit = startbit;
    def.bits = bits;
    def.endian = bigEndian;
    def.type = type;
    new LINSignal(def, false, &storage); // kept for the whole process
}

SignalStorage& signals()
{
    static SignalStorage* storage = [] {
        auto* built = new SignalStorage;
        add(*built, "lin.le", knownFrames[0], 3, 13, false, SIGNAL_UNSIGNED);
        add(*built, "lin.be", knownFrames[0], 39, 32, true, SIGNAL_FLOAT);
        add(*built, "lin.s64", knownFrames[0], 0, 64, false, SIGNAL_SIGNED);
        add(*built, "lin.wide", knownFrames[1], 60, 64, false, SIGNAL_UNSIGNED);
        add(*built, "lin.belowByte0", knownFrames[1], 2, 24, true, SIGNAL_SIGNED);
        return built;
    }();
    return *storage;
}

FrameIdentity frameIdentity(FuzzInput& in)
{
    const size_t choice = in.byte();
    if (choice < knownFrames.size())
        return knownFrames[choice];
    return {in.byte(), in.byte(), in.byte()};
}

// The stored record signalsInUse reads: channel at byte 14, identifier at 26.
void askInUse(const FrameIdentity& frame, SignalStorage& storage)
{
    std::array<unsigned char, 27> record{};
    record[14] = frame.channel;
    record[26] = frame.protectedId;
    const bool inUse = LINSignal::signalsInUse(record.data(), nullptr, frame.tslId, &storage);
    const bool filed = LINSignal::linContainer.count(LINSignal::linKey(frame.tslId, frame.channel, frame.protectedId));
    fuzz::require(inUse == filed, "a record is in use exactly when its frame key is filed");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SignalStorage& storage = signals();
    FuzzInput in(data, size);
    fuzz::decodeMessages(in, storage, maxFrames, [&](uint64_t timestamp, auto& ids) {
        const FrameIdentity identity = frameIdentity(in);
        LINTraceMessage frame;
        frame.timestamp = timestamp;
        frame.channel = identity.channel;
        frame.protectedId = identity.protectedId;
        frame.data.resize(in.number<uint16_t>() % longestData);
        in.copy(frame.data.data(), frame.data.size());

        const bool written = LINSignal::decodeMessage(frame, ids, identity.tslId, &storage);
        fuzz::requireWritten(written, ids, frame.timestamp, &storage);
        askInUse(identity, storage);
    });
    return 0;
}
