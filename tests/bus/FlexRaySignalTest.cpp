// FlexRay signals: cycle tables and frame keys, children, decoding of frames
// and PDUs, the raw-record query and the print form.
#include "bus/FlexRaySignal.h"
#include "support/ChildProcess.h"
#include "support/OutputCapture.h"
#include "support/Printed.h"
#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>

namespace {

using Ids = std::vector<unsigned long>;

// A position in slot 10; static unless told.
flexRayPosition_t at(uint8_t baseCycle, uint8_t repetition, uint16_t startBit = 0, bool isStatic = true)
{
    flexRayPosition_t p;
    p.startBit = startBit, p.type = isStatic, p.slot = 10, p.baseCycle = baseCycle, p.repetition = repetition;
    return p;
}

flexRaySignalDef_t definition(const std::string& instance, std::vector<flexRayPosition_t> positions, uint8_t bits = 8)
{
    auto def = definitionOf<flexRaySignalDef_t>(instance, bits);
    def.channel = 1, def.positions = std::move(positions);
    return def;
}

// Decodes a frame of slot 10 on channel 1 whose data and payload are `bytes`.
Ids decode(uint8_t cycle, std::vector<uint8_t> bytes, uint8_t kind = 16, size_t payloadSize = SIZE_MAX)
{
    FlexRayExtTraceMessage frm{1000u + cycle, kind, 1, bytes, 10, cycle, bytes};
    frm.payload.resize(std::min(payloadSize, bytes.size()));
    Ids ids;
    const bool any = FlexRaySignal::decodeMessage(frm, ids, 0);
    EXPECT_EQ(any, !ids.empty());
    return ids;
}

// The cycles under which `signal` is filed in the frame table.
std::vector<unsigned> filedCycles(const FlexRaySignal* signal)
{
    std::vector<unsigned> cycles;
    for (const auto& entry : FlexRaySignal::flexrayFrames)
        for (const FlexRaySignal* filed : entry.second)
            if (filed == signal)
                cycles.push_back(unsigned((entry.first - signal->d_frameKeyBase) >> 20));
    return cycles;
}

} // namespace

TEST(FlexRaySignal, CycleTablesFrameKeysAndPrintForm)
{
    SignalStorage storage;
    FlexRaySignal every4(definition("every4", {at(1, 4)}), false, &storage);
    EXPECT_EQ(filedCycles(&every4), (std::vector<unsigned>{1, 5, 9, 13, 17, 21, 25, 29, 33, 37, 41, 45, 49, 53, 57, 61}));
    FlexRaySignal all(definition("all", {at(0, 1)}), false, &storage);
    EXPECT_EQ(filedCycles(&all).size(), 64u);
    FlexRaySignal zero(definition("zero", {at(10, 0)}), false, &storage);
    EXPECT_EQ(zero.definition.positions[0].repetition, 1);
    EXPECT_EQ(filedCycles(&zero).size(), 54u);
    FlexRaySignal late(definition("late", {at(64, 1)}), false, &storage);
    EXPECT_TRUE(filedCycles(&late).empty());
    // The 8-bit counter wraps back to cycle 4: in the table, but filing starts at the base cycle.
    FlexRaySignal wrapped(definition("wrapped", {at(60, 200)}), false, &storage);
    EXPECT_TRUE(wrapped.definition.positions[0].cycle[4]);
    EXPECT_EQ(filedCycles(&wrapped), std::vector<unsigned>{60});

    EXPECT_EQ(FlexRaySignal::frameKey(0, 1, 10, 4, true), 0x2000000000401501ULL);
    EXPECT_EQ(FlexRaySignal::flexrayFrames.at(0x2000000000401501ULL), std::vector<FlexRaySignal*>{&all});

    // A position spanning 9 bytes rejects the signal: nothing is filed.
    FlexRaySignal rejected(definition("rejected", {at(0, 1, 4)}, 64), false, &storage);
    EXPECT_EQ(rejected.id, ~0UL);
    EXPECT_EQ(storage.flexRaySignals.size(), 5u);
    EXPECT_TRUE(filedCycles(&rejected).empty());

    // The print form lists the cycles a position is filed under.
    auto def = definition("printed", {at(0, 63)});
    def.positions[0].pduId = 7;
    FlexRaySignal printedSignal(def, false, &storage);
    EXPECT_EQ(printed(printedSignal.definition), printed(baseSignalDef_t(def)) + "[startBit=0,type=static,slot=10,"
              "baseCycle=0,repetition=63,startByte=0,numBytes=1,updateBit=none,pduId=7,cycle=0" + std::string(63, ',') +
              "63]");
}

TEST(FlexRaySignal, ChildrenShareTheSlotAndIdentifier)
{
    const std::string name = uniqueInstanceName("flexray_children");
    SignalStorage storage;
    OutputCapture capture;
    auto parent = std::make_unique<FlexRaySignal>(definition(name, {at(0, 64, 0), at(1, 64, 8)}), true, &storage);
    ASSERT_EQ(parent->children.size(), 1u);
    const FlexRaySignal* child = parent->children[0];
    EXPECT_EQ(child->slot, parent->slot);
    EXPECT_EQ(filedCycles(parent.get()), std::vector<unsigned>{0});
    EXPECT_EQ(filedCycles(child), std::vector<unsigned>{1});
    EXPECT_EQ(storage.flexRaySignals.size(), 1u); // children are in no storage table

    EXPECT_EQ(decode(0, {0x11, 0x22}), Ids{parent->id});
    EXPECT_EQ(parent->slot->raw, 0x11u);
    EXPECT_EQ(decode(1, {0x11, 0x22}), Ids{parent->id});
    EXPECT_EQ(parent->slot->raw, 0x22u);

    // The child goes first and must leave the shared segment to its parent.
    parent.reset();
    EXPECT_EQ(capture.err(), "");
    EXPECT_FALSE(segmentExists(name));
    EXPECT_TRUE(FlexRaySignal::flexrayFrames.empty() && storage.flexRaySignals.empty());
    removeKeyFile(name);

    capture.reset();
    delete new FlexRaySignal(nullptr, definition("orphan", {at(0, 1)})); // reported, filed nowhere
    EXPECT_EQ(capture.out(), "[ERROR] BaseSignal::BaseSignal() no parent\n");
    EXPECT_TRUE(FlexRaySignal::flexrayFrames.empty());
}

TEST(FlexRaySignal, UpdateBitsSegmentsAndLengthLimit)
{
    SignalStorage storage;
    auto updated = at(5, 64);
    updated.updateBit = 7;
    FlexRaySignal flagged(definition("flagged", {updated}), false, &storage);
    updated.updateBit = 100; // beyond the payload: never confirmed
    FlexRaySignal unreachable(definition("unreachable", {updated}), false, &storage);
    EXPECT_TRUE(decode(5, {0x7f, 0}).empty());
    EXPECT_EQ(decode(5, {0x80, 0}), Ids{flagged.id});

    FlexRaySignal dynamicOne(definition("dynamicOne", {at(5, 64, 8, false)}), false, &storage);
    EXPECT_EQ(decode(5, {0x80, 0x42}, 17), Ids{dynamicOne.id});
    EXPECT_TRUE(decode(5, {0x80, 0x42}, 18).empty());
    EXPECT_TRUE(decode(6, {0x80, 0x42}).empty());

    FlexRaySignal tail(definition("tail", {at(2, 64, 224)}, 32), false, &storage); // bytes 28 to 31
    FlexRaySignal odd(definition("odd", {at(2, 64, 248)}, 16), false, &storage);   // bytes 31 and 32
    EXPECT_EQ(decode(2, std::vector<uint8_t>(32, 0x5a)), Ids{tail.id});
    EXPECT_EQ(tail.slot->raw, 0x5a5a5a5au);
    EXPECT_EQ(decode(2, std::vector<uint8_t>(33, 0)), Ids{tail.id}); // L is 32
    EXPECT_TRUE(decode(2, std::vector<uint8_t>(31, 0)).empty());
    EXPECT_TRUE(decode(2, std::vector<uint8_t>(32, 0), 16, 8).empty()); // payload shorter than data
}

TEST(FlexRaySignal, PduSearch)
{
    SignalStorage storage;
    auto inPdu = [](uint32_t pduId) {
        auto p = at(3, 64, 8);
        p.pduId = pduId;
        p.updateBit = 0; // not consulted inside a PDU
        return p;
    };
    FlexRaySignal second(definition("second", {inPdu(0x20)}), false, &storage);
    FlexRaySignal missing(definition("missing", {inPdu(0x30)}), false, &storage);
    // PDU 0x10 with 2 bytes, PDU 0x20 with 3 bytes, one spare byte.
    std::vector<uint8_t> bytes{0, 0, 0x10, 2, 0xa, 0xb, 0, 0, 0x20, 3, 0xc, 0xd, 0xe, 0};
    EXPECT_EQ(decode(3, bytes), Ids{second.id});
    EXPECT_EQ(second.slot->raw, 0xdu);
    EXPECT_TRUE(decode(3, std::vector<uint8_t>(bytes.begin(), bytes.end() - 1)).empty()); // PDU ends the data
    bytes[3] = 0;
    EXPECT_TRUE(decode(3, bytes).empty()); // the search stops at a zero length

    BaseSignal::debug = 1;
    OutputCapture capture;
    decode(3, bytes);
    decode(9, bytes);
    BaseSignal::debug = 0;
    const std::string out = capture.out();
    EXPECT_NE(out.find("decodeMessage() search for PDU 48\n"), std::string::npos);
    EXPECT_NE(out.find("decodeMessage() PDU of missing not found\n"), std::string::npos);
    EXPECT_NE(out.find("[DEBUG] FlexRaySignal::decodeMessage() id = 2000000000901501 not found\n"), std::string::npos);
}

TEST(FlexRaySignal, SignalsInUseOnRawRecords)
{
    SignalStorage storage;
    std::vector<uint8_t> record(32, 0);
    record[14] = 16; // static
    record[15] = 1;  // channel
    record[20] = 10; // slot
    record[24] = 4;  // cycle
    const auto inUse = [&](size_t length) {
        return FlexRaySignal::signalsInUse(record.data(), record.data() + length, 0, &storage);
    };
    EXPECT_FALSE(inUse(32)); // no FlexRay signals in this storage
    FlexRaySignal signal(definition("inUse", {at(0, 4)}), false, &storage);
    EXPECT_TRUE(inUse(32));
    EXPECT_FALSE(inUse(19));
    EXPECT_FALSE(inUse(24)); // the cycle byte is missing
    BaseSignal::debug = 1;
    OutputCapture capture;
    inUse(32);
    BaseSignal::debug = 0;
    EXPECT_EQ(capture.out(), "[DEBUG] FlexRaySignal::signalsInUse() id = 2000000000401501 in use \n");
    record[14] = 18;
    EXPECT_FALSE(inUse(32));
}
