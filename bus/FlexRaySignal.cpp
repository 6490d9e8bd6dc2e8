// FlexRay signals: definition check, cycle tables, frame table, decoding of
// frames and PDUs, and print forms.
#include "bus/FlexRaySignal.h"

#include "bus/ByteRange.h"
#include "signal/FramePlan.h"
#include "signal/FrameTable.h"
#include "signal/MessageLine.h"
#include "signal/PlannedSignal.h"
#include "signal/SignalRegistration.h"

#include <algorithm>
#include <cstddef>

FlexRaySignal::FrameMap FlexRaySignal::flexrayFrames;

namespace {

using Frames = FrameTable<uint64_t, FlexRaySignal>;

constexpr const char* className = "FlexRaySignal";
constexpr uint64_t flexRayKindBit = 0x2000000000000000ULL;
constexpr unsigned long rejectedId = ~0UL;
constexpr unsigned lastCycle = 63;
constexpr unsigned maxFieldBytes = 8;
constexpr unsigned maxBits = 64;
constexpr uint8_t staticFrameKind = 16;
constexpr uint8_t dynamicFrameKind = 17;
constexpr size_t pduHeaderBytes = 4;

// flexrayFrames as the per-frame path reads it.
FramePlan<PlannedSignal<FlexRaySignal>> plan;

// A stored FlexRay record carries the frame kind at byte 14, the channel at
// 15, the slot big-endian at 19 and 20 and the cycle at 24. Records too short
// for the cycle byte cannot be matched to a frame.
constexpr ptrdiff_t recordKindByte = 14;
constexpr ptrdiff_t recordChannelByte = 15;
constexpr ptrdiff_t recordSlotByte = 19;
constexpr ptrdiff_t recordCycleByte = 24;

SignalStorage& resolve(SignalStorage* storage)
{
    return storage ? *storage : BaseSignal::defSignalStorage;
}

bool isFrameKind(uint8_t kind)
{
    return kind == staticFrameKind || kind == dynamicFrameKind;
}

void computeByteRange(flexRayPosition_t& position, const baseSignalDef_t& def)
{
    const ByteRange range = ByteRange::of(position.startBit, def.bits, def.endian, ByteRange::StartBitNumbering);
    position.startByte = static_cast<uint8_t>(range.startByte);
    position.numBytes = static_cast<uint8_t>(range.numBytes());
}

// The counter is 8 bits wide and may wrap back below 64 (base 60, repetition
// 200 gives cycles 60 and 4). It always leaves 0..63 before repeating itself:
// for any non-zero step the values it can reach include some above 63.
void fillCycleTable(flexRayPosition_t& position)
{
    position.cycle.fill(false);
    const uint8_t step = position.repetition != 0 ? position.repetition : 1;
    for (uint8_t c = position.baseCycle; c <= lastCycle; c = static_cast<uint8_t>(c + step))
        position.cycle[c] = true;
}

// The data size rounded down to an even number, in 8 bits of words: frames of
// 512 bytes and more wrap, as the recorder's length field does.
size_t evenLengthLimit(size_t dataSize)
{
    return 2 * ((dataSize >> 1) & 0xff);
}

// Finds the header of PDU `pduId`. Stops at a zero length and never reads a
// header beyond the data; a PDU that ends exactly at the end of the data is
// not taken, which is stricter than the CAN FD search on purpose.
bool findPdu(const FlexRayExtTraceMessage& frm, uint32_t pduId, size_t& header)
{
    // The data size in 8 bits, and never beyond what the payload holds.
    const size_t n = std::min<size_t>(static_cast<uint8_t>(frm.data.size()), frm.payload.size());
    const uint8_t* bytes = frm.payload.data();
    for (size_t p = 0; n > p + pduHeaderBytes;) {
        const size_t length = bytes[p + 3];
        if (length == 0 || n <= p + pduHeaderBytes + length)
            return false;
        const uint32_t id = uint32_t(bytes[p]) << 16 | uint32_t(bytes[p + 1]) << 8 | bytes[p + 2];
        if (id == pduId) {
            header = p;
            return true;
        }
        p += pduHeaderBytes + length;
    }
    return false;
}

// An update bit outside the payload cannot confirm fresh data.
bool updateBitSet(const std::vector<uint8_t>& payload, uint16_t bit)
{
    const size_t byte = bit / 8u;
    return byte < payload.size() && ((payload[byte] >> (bit % 8u)) & 1u) != 0;
}

template <class T>
void printOrNone(std::ostream& os, const std::optional<T>& value)
{
    if (value)
        os << *value;
    else
        os << "none";
}

} // namespace

uint64_t FlexRaySignal::frameKey(uint8_t tslId, uint8_t channel, uint16_t slot, uint8_t cycle, bool isStatic)
{
    // Added, not or-ed: out-of-range slots and cycles carry into the next
    // field rather than being masked.
    return flexRayKindBit + (uint64_t(tslId) << 26) + (uint64_t(cycle) << 20) + (uint64_t(slot) << 9) +
           (isStatic ? 256u : 0u) + channel;
}

FlexRaySignal::FlexRaySignal(const flexRaySignalDef_t& def, bool shm, SignalStorage* signalStorage)
    : BaseSignal(def, shm, signalStorage), definition(def), d_frameKeyBase(0)
{
    if (!checkSignalDefinition(definition)) {
        id = rejectedId;
        return;
    }
    for (auto& position : definition.positions)
        fillCycleTable(position);

    if (!SignalRegistration::enter(this, flexRayKindBit, storage->flexRaySignals)) {
        MessageLine::write(MessageStream::Output, MessageLine::Error, className, "FlexRaySignal", "gpId 0x", std::hex,
                           id, std::dec, " already exists");
        id = rejectedId;
        return;
    }

    // A definition without positions is registered but carried by no frame.
    if (!definition.positions.empty()) {
        const flexRayPosition_t& first = definition.positions.front();
        d_frameKeyBase = frameKey(definition.tslId, definition.channel, first.slot, 0, first.type);
        fileCycles(first);
        useByteRange(first);
    }
    if (debug)
        MessageLine::debug(className, "FlexRaySignal", def.instance, " created ", shm ? "(shared memory);" : ";",
                           *this);
    buildChildren();
}

FlexRaySignal::FlexRaySignal(FlexRaySignal* parent, const flexRaySignalDef_t& def)
    : BaseSignal(parent), definition(def), d_frameKeyBase(parent ? parent->d_frameKeyBase : 0)
{
    // The mirror constructor has reported a missing parent; the child stays
    // empty and is filed nowhere.
    if (parent == nullptr || definition.positions.empty())
        return;
    // Only the cycles and the byte place of the child's position count: its
    // channel, slot and segment are the parent's, since the positions of one
    // signal differ by cycle within one frame.
    const flexRayPosition_t& position = definition.positions.front();
    fileCycles(position);
    useByteRange(position);
    if (debug)
        MessageLine::debug(className, "FlexRaySignal", "child ", def.instance, " created ",
                           shmem ? "(shared memory)" : "", *this);
}

FlexRaySignal::~FlexRaySignal()
{
    // A child finds its parent's entry gone already and passes silently; a
    // child built without a parent has no storage and was filed nowhere.
    if (storage != nullptr && !SignalRegistration::leave(this, storage->flexRaySignals, flexrayFrames))
        MessageLine::write(MessageStream::Output, MessageLine::Error, className, "~FlexRaySignal", def.instance,
                           " instance not found in vector");
    // Children share this signal's slot: they go before the slot is released.
    for (FlexRaySignal* child : children)
        delete child;
    children.clear();
}

void FlexRaySignal::fileCycles(const flexRayPosition_t& position)
{
    // From the base cycle on: cycles that the 8-bit counter wrapped back to
    // stay in the table but are not filed.
    for (unsigned c = position.baseCycle; c <= lastCycle; ++c)
        if (position.cycle[c])
            Frames::append(flexrayFrames, d_frameKeyBase + (uint64_t(c) << 20), this);
}

void FlexRaySignal::useByteRange(const flexRayPosition_t& position)
{
    def.startbit = position.startBit & 7u;
    cInit();
}

void FlexRaySignal::buildChildren()
{
    const auto& positions = definition.positions;
    if (positions.size() < 2)
        return;
    children.reserve(positions.size() - 1);
    flexRaySignalDef_t childDef;
    static_cast<baseSignalDef_t&>(childDef) = definition;
    for (size_t i = 1; i < positions.size(); ++i) {
        childDef.positions.assign(1, positions[i]);
        children.push_back(new FlexRaySignal(this, childDef));
    }
}

bool FlexRaySignal::checkSignalDefinition(flexRaySignalDef_t& def)
{
    if (def.positions.empty())
        return true;
    if (def.bits > maxBits) {
        computeByteRange(def.positions.front(), def);
        return false;
    }
    for (auto& position : def.positions) {
        computeByteRange(position, def);
        if (position.numBytes > maxFieldBytes)
            return false;
        if (position.repetition == 0)
            position.repetition = 1;
    }
    return true;
}

bool FlexRaySignal::signalsInUse(const unsigned char* record, const unsigned char* recordEnd, unsigned char tslId,
                                 SignalStorage* storage)
{
    if (resolve(storage).flexRaySignals.empty())
        return false;
    if (record == nullptr || recordEnd == nullptr || recordEnd - record <= recordCycleByte)
        return false;
    const uint8_t kind = record[recordKindByte];
    if (!isFrameKind(kind))
        return false;

    const uint16_t slot = static_cast<uint16_t>(record[recordSlotByte] << 8 | record[recordSlotByte + 1]);
    const uint64_t key =
        frameKey(tslId, record[recordChannelByte], slot, record[recordCycleByte], kind == staticFrameKind);
    const bool inUse = flexrayFrames.find(key) != flexrayFrames.end();
    // The two texts differ by a trailing space; both are kept as they are.
    if (debug)
        MessageLine::debug(className, "signalsInUse", "id = ", std::hex, key, std::dec,
                           inUse ? " in use " : " not in use");
    return inUse;
}

bool FlexRaySignal::locatePdu(const FlexRayExtTraceMessage& frm, uint32_t pduId, unsigned& offset) const
{
    if (debug)
        MessageLine::debug(className, "decodeMessage", "search for PDU ", std::dec, pduId);
    size_t header = 0;
    if (!findPdu(frm, pduId, header)) {
        if (debug)
            MessageLine::debug(className, "decodeMessage", "PDU of ", def.instance, " not found");
        return false;
    }
    offset = static_cast<uint16_t>(header + pduHeaderBytes);
    if (debug)
        MessageLine::debug(className, "decodeMessage", "pduPayload = ", std::dec, offset);
    // Within a PDU the update bit is not consulted.
    return true;
}

// Inline, with the PDU search and the debug lines out of line: most fields
// sit at a fixed place, and this runs for every signal of every frame.
inline bool FlexRaySignal::locateField(const FlexRayExtTraceMessage& frm, unsigned& offset) const
{
    const flexRayPosition_t& position = definition.positions.front();
    offset = 0;
    if (position.pduId)
        return locatePdu(frm, *position.pduId, offset);
    if (position.updateBit && !updateBitSet(frm.payload, *position.updateBit)) {
        if (debug)
            traceSkipped(": update bit not set");
        return false;
    }
    return true;
}

__attribute__((noinline, cold)) void FlexRaySignal::traceSkipped(const char* why) const
{
    MessageLine::debug(className, "decodeMessage", def.instance, why);
}

bool FlexRaySignal::decodeMessage(const FlexRayExtTraceMessage& frm, std::vector<unsigned long>& ids,
                                  unsigned char tslId, SignalStorage* /*storage*/)
{
    ids.clear();
    if (!isFrameKind(frm.frameKind))
        return false;

    // Signals are filed only for the cycles their positions occur in, so
    // this one lookup is also the cycle match.
    const uint64_t key = frameKey(tslId, frm.channel, frm.slot, frm.cycle, frm.frameKind == staticFrameKind);
    FramePlan<PlannedSignal<FlexRaySignal>>::Run run;
    if (!plan.find(flexrayFrames, key, [](FlexRaySignal* signal) { return PlannedSignal<FlexRaySignal>(signal); },
                   run)) {
        if (debug)
            MessageLine::debug(className, "decodeMessage", "id = ", std::hex, key, std::dec, " not found");
        return false;
    }
    if (debug)
        MessageLine::debug(className, "decodeMessage", frm);

    // Byte ranges are tested against the data size; the bytes are read from
    // the payload, so a shorter payload limits them too.
    const size_t limit = std::min(evenLengthLimit(frm.data.size()), frm.payload.size());
    const bool traced = debug != 0;
    for (auto step = run.begin; step != run.end; ++step) {
        const FlexRaySignal& signal = *step->signal;
        if (traced)
            MessageLine::debug(className, "decodeMessage", "Signal = ", signal.def.instance);
        unsigned offset = 0;
        if (!signal.locateField(frm, offset))
            continue;
        const flexRayPosition_t& position = signal.definition.positions.front();
        const size_t first = offset + position.startByte;
        if (first + position.numBytes > limit) {
            if (traced)
                signal.traceSkipped(": payload to small");
            continue;
        }
        if (traced)
            MessageLine::hexdump(frm.payload.data(), frm.payload.size());
        step->write(frm.payload.data() + first, position.numBytes, frm.timestamp);
        ids.push_back(signal.id);
    }
    return !ids.empty();
}

std::ostream& operator<<(std::ostream& os, const flexRayPosition_t& position)
{
    os << std::dec << "[startBit=" << position.startBit << ",type=" << (position.type ? "static" : "dynamic")
       << ",slot=" << position.slot << ",baseCycle=" << unsigned(position.baseCycle)
       << ",repetition=" << unsigned(position.repetition) << ",startByte=" << unsigned(position.startByte)
       << ",numBytes=" << unsigned(position.numBytes) << ",updateBit=";
    printOrNone(os, position.updateBit);
    os << ",pduId=";
    printOrNone(os, position.pduId);
    // Always 63 commas, whichever cycles are set.
    os << ",cycle=";
    for (unsigned c = 0; c <= lastCycle; ++c) {
        if (position.cycle[c])
            os << c;
        if (c < lastCycle)
            os << ',';
    }
    return os << ']';
}

std::ostream& operator<<(std::ostream& os, const flexRaySignalDef_t& def)
{
    os << static_cast<const baseSignalDef_t&>(def);
    if (def.positions.empty())
        return os << "[no positions]";
    for (const auto& position : def.positions)
        os << position;
    return os;
}

std::ostream& operator<<(std::ostream& os, const FlexRaySignal& signal)
{
    return BaseSignal::printWithDefinition(os, signal, signal.definition);
}
