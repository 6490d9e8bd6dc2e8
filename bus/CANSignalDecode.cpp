// CANSignal::decodeMessage: the per-frame path of CAN and CAN FD signals.
//
// Runs for every received frame: one hash lookup in the decode plan of
// canContainer per frame (two with a multiplexer), no allocation, and debug
// formatting only behind a test of the debug level. A frame may claim any
// length up to 255; nothing here reads outside its 64-byte payload array.
#include "bus/CANSignal.h"

#include "signal/FramePlan.h"
#include "signal/FrameTable.h"
#include "signal/MessageLine.h"
#include "signal/PlannedSignal.h"

#include <algorithm>

namespace {

const char cls[] = "CANSignal";
const char op[] = "decodeMessage";

constexpr unsigned payloadCapacity = sizeof(CANExtTraceMessage::payload);

// Classic signals are written with the CAN FD length code of long frames
// rather than their length; the codec uses at most eight bytes either way.
unsigned long classicLength(uint8_t length)
{
    if (length <= 8)
        return length;
    if (length <= 24)
        return (length + 27u) / 4;
    if (length <= 64)
        return (length + 191u) / 16;
    return 15;
}

// One received frame, with what all of its signals are decoded from.
struct Frame {
    explicit Frame(const CANExtTraceMessage& message)
        : ctm(message), received(std::min<unsigned>(message.length, payloadCapacity)),
          classicCode(classicLength(message.length)), classicWord(BaseSignal::payloadWord(message.payload, classicCode)),
          classicReach(BaseSignal::onlyReceivedBits ? received : payloadCapacity)
    {
    }

    uint8_t byte(unsigned index) const { return index < payloadCapacity ? ctm.payload[index] : 0; }

    const CANExtTraceMessage& ctm;
    unsigned received;         // the bytes received that exist in the payload array
    unsigned long classicCode; // the length classic signals are written with
    uint64_t classicWord;      // what the write of classic signals decodes
    // Classic signals whose field needs more leading bytes than this are
    // skipped (only with BaseSignal::onlyReceivedBits; otherwise all fit).
    unsigned classicReach;

};

// A signal of the decode plan, with the common case marked: a signal written
// directly, classic, and no multiplexer.
struct Step : PlannedSignal<CANSignal> {
    explicit Step(CANSignal* s)
        : PlannedSignal(s), plainClassic(direct && !s->d_layout.canFD && !s->d_layout.multiplexer),
          classicBytes(uint16_t(std::min(s->fieldBytes(), 0xffffu)))
    {
    }
    bool plainClassic;
    uint16_t classicBytes; // leading payload bytes a classic field needs
};

FramePlan<Step> plan;

bool findPlanned(uint64_t key, FramePlan<Step>::Run& run)
{
    return plan.find(CANSignal::canContainer, key, [](CANSignal* signal) { return Step(signal); }, run);
}

// Offset of the data of PDU `pduId` among the bytes received, or -1. Only a
// header's start is checked against the length, so a header in the last three
// bytes is read past them (as zeros past the array).
int findPdu(const Frame& frame, uint32_t pduId)
{
    for (unsigned p = 0; p < frame.received; p += 4 + frame.byte(p + 3)) {
        const uint32_t headerId = uint32_t(frame.byte(p)) << 16 | uint32_t(frame.byte(p + 1)) << 8 | frame.byte(p + 2);
        if (headerId == pduId)
            return int(p + 4);
    }
    return -1;
}

// Writes the step's signal from the frame; false when it was skipped (PDU
// missing, byte range beyond the bytes received).
bool writeFrom(const Step& step, const Frame& frame)
{
    CANSignal& signal = *step.signal;
    const CANSignal::FrameLayout& layout = signal.d_layout;
    if (!layout.canFD) {
        if (step.classicBytes > frame.classicReach)
            return false;
        // Located by startbit over the frame, i.e. within its first 8 bytes.
        step.write(frame.ctm.payload, frame.classicCode, frame.classicWord, frame.ctm.timestamp);
        return true;
    }

    unsigned pduOffset = 0;
    if (layout.hasPduId) {
        const int data = findPdu(frame, layout.pduId);
        if (data < 0) {
            if (BaseSignal::debug)
                MessageLine::debug(cls, op, signal.def.instance, " not found");
            return false;
        }
        pduOffset = static_cast<uint8_t>(data);
    }

    const unsigned first = layout.startByte + pduOffset;
    if (frame.received < first + layout.numBytes) {
        if (BaseSignal::debug)
            MessageLine::debug(cls, op, signal.def.instance, ": payload to small");
        return false;
    }
    step.write(frame.ctm.payload + first, layout.numBytes, frame.ctm.timestamp);
    return true;
}

// Second stage of a multiplexer: adds its value to `key`, for the rest of the
// frame, and writes the signals filed under the new key.
void decodeMultiplexed(CANSignal& multiplexer, const Frame& frame, uint64_t& key, std::vector<unsigned long>& ids)
{
    unsigned long raw = 0;
    unsigned long timestamp = 0;
    if (!multiplexer.read(raw, timestamp))
        return;
    // A second multiplexer of the frame adds its term on top of this one.
    key += CANSignal::multiplexerTerm(raw);
    if (BaseSignal::debug)
        MessageLine::debug(cls, op, "mux = ", std::dec, raw, ", id = 0x", std::hex, key, std::dec);

    FramePlan<Step>::Run second;
    if (!findPlanned(key, second)) {
        if (BaseSignal::debug)
            MessageLine::debug(cls, op, multiplexer.def.instance,
                               ": Multiplexed CAN message not in canMessageContainer: ", frame.ctm);
        return;
    }

    for (const Step* step = second.begin; step != second.end; ++step) {
        CANSignal* signal = step->signal;
        if (BaseSignal::debug)
            MessageLine::debug(cls, op, "Multiplexed signal = ", signal->def.instance, ", id = 0x", std::hex, key,
                               std::dec);
        if (signal->d_layout.canFD) {
            // Taken as it stands: no PDU, no length check and no identifier
            // reported. Only the part of the range inside the array is read.
            const unsigned first = std::min<unsigned>(signal->d_layout.startByte, payloadCapacity);
            const unsigned count = std::min<unsigned>(signal->d_layout.numBytes, payloadCapacity - first);
            step->write(frame.ctm.payload + first, count, frame.ctm.timestamp);
        } else if (step->classicBytes <= frame.classicReach) {
            step->write(frame.ctm.payload, frame.classicCode, frame.classicWord, frame.ctm.timestamp);
            ids.push_back(signal->id);
        }
    }
}

// Everything but the common case, out of line so that the loop over a
// frame's signals keeps its registers: debug lines, CAN FD ranges, PDUs,
// subclasses, multiplexers.
__attribute__((noinline)) void decodeSignal(const Step& step, const Frame& frame, uint64_t& key,
                                            std::vector<unsigned long>& ids)
{
    CANSignal& signal = *step.signal;
    if (BaseSignal::debug)
        MessageLine::debug(cls, op, "Signal = ", signal.def.instance, ", id = 0x", std::hex, key, std::dec);
    if (!writeFrom(step, frame))
        return;
    ids.push_back(signal.id);
    if (signal.d_layout.multiplexer)
        decodeMultiplexed(signal, frame, key, ids);
}

uint64_t frameKey(const CANExtTraceMessage& ctm, uint8_t tslId)
{
    const bool extended = ctm.frameFormat == 1 || ctm.frameFormat == 3;
    const bool canFD = ctm.frameFormat == 2 || ctm.frameFormat == 3;
    return CANSignal::canKey(tslId, ctm.getChannel(), ctm.getCanId(), extended, canFD);
}

} // namespace

bool CANSignal::decodeMessage(const CANExtTraceMessage& ctm, std::vector<unsigned long>& ids, unsigned char tslId,
                              SignalStorage* storage)
{
    ids.clear();
    if ((storage ? *storage : defSignalStorage).canSignals.empty()) {
        if (debug)
            MessageLine::debug(cls, op, "CANContainer is empty");
        return false;
    }

    uint64_t key = frameKey(ctm, tslId);
    if (debug) {
        MessageLine::debug(cls, op, std::hex, key, std::dec);
        MessageLine::debug(cls, op, "ctm.getChannel()=", std::dec, unsigned(ctm.getChannel()));
        MessageLine::debug(cls, op, "ctm.getCanId()=", std::hex, ctm.getCanId(), std::dec);
        if (debug >= 2)
            FrameTable<uint64_t, CANSignal>::dump(canContainer, cls, op);
    }

    FramePlan<Step>::Run run;
    if (!findPlanned(key, run)) {
        if (debug >= 2)
            MessageLine::debug(cls, op, "CAN message not in canMessageContainer: ", ctm, ", id = ", std::hex, key,
                               std::dec);
        return false;
    }

    const Frame frame(ctm);
    const bool quiet = debug == 0;
    for (const Step* step = run.begin; step != run.end; ++step) {
        if (quiet && step->plainClassic && step->classicBytes <= frame.classicReach) {
            step->signal->writeDirect(frame.classicWord, ctm.timestamp);
            ids.push_back(step->signal->id);
        } else {
            decodeSignal(*step, frame, key, ids);
        }
    }
    return !ids.empty();
}
