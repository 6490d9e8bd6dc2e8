// Fuzz target: signal definitions, which clients read from configuration
// files, through the constructors and definition checks of the CAN, LIN,
// FlexRay and Ethernet signals, then one frame addressed to the signal, its
// value read back and described, its print form, and its destruction.
//
// Any start bit, width (0 to 255), byte order, value type (valid or not),
// scale and offset, and for the buses their identifiers, PDUs, update bits,
// cycles and container kinds. Input: a debug selector byte, the kind, the
// common fields, the kind's fields, then the frame's fields and bytes.
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "bus/CANSignal.h"
#include "bus/EthernetSignal.h"
#include "bus/FlexRaySignal.h"
#include "bus/LINSignal.h"

#include <cstring>
#include <iostream>
#include <memory>

namespace {

constexpr uint64_t timestamp = 1000;
constexpr size_t maxPositions = 4;
constexpr size_t longestFrame = 1600;

double anyDouble(FuzzInput& in)
{
    const uint64_t bits = in.number<uint64_t>();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

template <class Definition>
Definition commonFields(FuzzInput& in)
{
    Definition def;
    def.instance = "fuzzed";
    def.signal = "fuzzed";
    def.tslId = in.byte();
    def.channel = in.byte();
    def.startbit = in.number<uint16_t>();
    def.bits = in.byte();
    def.endian = in.flag();
    def.type = static_cast<signalValue_t>(in.pick(5)); // 4 is no type at all
    def.scale = anyDouble(in);
    def.offset = anyDouble(in);
    def.multiplexed = in.flag();
    def.mux = in.number<uint16_t>();
    if (in.flag())
        def.valueDescription.emplace(in.number<uint64_t>(), "described");
    return def;
}

template <class T>
std::optional<T> optionalNumber(FuzzInput& in)
{
    if (!in.flag())
        return std::nullopt;
    return in.number<T>();
}

std::vector<uint8_t> frameBytes(FuzzInput& in, size_t longest)
{
    std::vector<uint8_t> bytes(in.number<uint16_t>() % (longest + 1));
    in.copy(bytes.data(), bytes.size());
    return bytes;
}

// Reads the value back, describes it and prints the signal: the paths a
// client takes after decoding.
void inspect(BaseSignal& signal, std::ostream& sink)
{
    double value = 0;
    unsigned long when = 0;
    signal.read(value, when);
    unsigned long raw = 0;
    signal.read(raw, when);
    signal.getValueDescription(raw);
    sink << signal << '\n';
}

void fuzzCan(FuzzInput& in, SignalStorage& storage, std::vector<unsigned long>& ids)
{
    auto def = commonFields<canSignalDef_t>(in);
    def.msgId = in.number<uint32_t>() & 0x1fffffff;
    def.extended = in.flag();
    def.canFD = in.flag();
    def.multiplexer = in.byte() & 1;
    def.pduId = optionalNumber<uint32_t>(in);
    CANSignal signal(def, false, &storage);

    CANExtTraceMessage frame;
    frame.timestamp = timestamp;
    frame.channel = def.channel;
    frame.frameFormat = (def.extended ? 1 : 0) + (def.canFD ? 2 : 0);
    frame.canId = def.msgId;
    frame.length = in.byte();
    in.copy(frame.payload, sizeof frame.payload);
    fuzz::requireWritten(CANSignal::decodeMessage(frame, ids, def.tslId, &storage), ids, timestamp, &storage);
    inspect(signal, std::cout);
}

void fuzzLin(FuzzInput& in, SignalStorage& storage, std::vector<unsigned long>& ids)
{
    auto def = commonFields<linSignalDef_t>(in);
    def.msgId = in.number<uint32_t>();
    LINSignal signal(def, false, &storage);

    LINTraceMessage frame;
    frame.timestamp = timestamp;
    frame.channel = def.channel;
    frame.protectedId = static_cast<uint8_t>(def.msgId);
    frame.data = frameBytes(in, 300);
    fuzz::requireWritten(LINSignal::decodeMessage(frame, ids, def.tslId, &storage), ids, timestamp, &storage);
    inspect(signal, std::cout);
}

void fuzzFlexRay(FuzzInput& in, SignalStorage& storage, std::vector<unsigned long>& ids)
{
    auto def = commonFields<flexRaySignalDef_t>(in);
    def.positions.resize(in.pick(maxPositions + 1));
    for (flexRayPosition_t& position : def.positions) {
        position.startBit = in.number<uint16_t>();
        position.type = in.flag();
        position.slot = in.number<uint16_t>();
        position.baseCycle = in.byte();
        position.repetition = in.byte();
        position.updateBit = optionalNumber<uint16_t>(in);
        position.pduId = optionalNumber<uint32_t>(in);
    }
    FlexRaySignal signal(def, false, &storage);

    FlexRayExtTraceMessage frame;
    frame.timestamp = timestamp;
    const flexRayPosition_t first = def.positions.empty() ? flexRayPosition_t() : def.positions.front();
    frame.frameKind = first.type ? 16 : 17;
    frame.channel = def.channel;
    frame.slot = first.slot;
    frame.cycle = in.byte();
    frame.data.resize(in.number<uint16_t>() % longestFrame);
    frame.payload = frameBytes(in, longestFrame);
    fuzz::requireWritten(FlexRaySignal::decodeMessage(frame, ids, def.tslId, &storage), ids, timestamp, &storage);
    inspect(signal, std::cout);
}

void fuzzEthernet(FuzzInput& in, SignalStorage& storage, std::vector<unsigned long>& ids)
{
    auto def = commonFields<ethernetSignalDef_t>(in);
    def.positions.resize(in.pick(maxPositions + 1));
    for (ethernetPosition_t& position : def.positions) {
        // Addresses stay wildcards, so that the frame below can match; the
        // container and the place of the value are what is fuzzed.
        position.ethSignalType = static_cast<ethSignalPosType_t>(in.pick(5)); // 4 is no kind at all
        position.startBit = in.number<uint16_t>();
        position.vlan = in.flag();
        position.pduId = in.number<uint32_t>();
        position.messageId = in.number<uint32_t>();
        position.serviceId = in.number<uint32_t>();
        position.methodEventId = in.number<uint32_t>();
    }
    EthernetSignal signal(def, false, &storage);

    MIITraceMessage frame;
    frame.timestamp = timestamp;
    frame.channel = def.channel;
    frame.frame = frameBytes(in, longestFrame);
    fuzz::requireWritten(EthernetSignal::decodeMessage(frame, ids, &storage), ids, timestamp, &storage);
    inspect(signal, std::cout);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput in(data, size);
    fuzz::Session session(in.byte());
    SignalStorage storage;
    std::vector<unsigned long> ids;
    switch (in.pick(4)) {
    case 0:
        fuzzCan(in, storage, ids);
        break;
    case 1:
        fuzzLin(in, storage, ids);
        break;
    case 2:
        fuzzFlexRay(in, storage, ids);
        break;
    default:
        fuzzEthernet(in, storage, ids);
        break;
    }
    return 0;
}
