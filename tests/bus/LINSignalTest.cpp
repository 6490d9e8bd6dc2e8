// LIN signals: frame keys from the six identifier bits, decoding, empty and
// oversized frames, raw records and the unknown-frame line.
#include "bus/LINSignal.h"
#include "support/OutputCapture.h"
#include "support/Printed.h"
#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

linSignalDef_t linDef(const std::string& name, uint32_t msgId, uint16_t startbit)
{
    auto def = definitionOf<linSignalDef_t>(name, 8, startbit);
    def.channel = 2, def.tslId = 1, def.msgId = msgId;
    return def;
}

LINTraceMessage linFrame(uint8_t protectedId, size_t bytes)
{
    LINTraceMessage ltm;
    ltm.timestamp = 500, ltm.channel = 2, ltm.protectedId = protectedId;
    for (size_t i = 0; i < bytes; ++i)
        ltm.data.push_back(static_cast<uint8_t>(i + 1));
    return ltm;
}

} // namespace

TEST(LINSignal, SixBitIdentifiersEmptyFramesAndTheUnknownFrameLine)
{
    SignalStorage storage;
    std::vector<unsigned long> ids{1};
    unsigned char record[27] = {};
    record[14] = 2, record[26] = 0x85;
    EXPECT_FALSE(LINSignal::decodeMessage(linFrame(5, 2), ids, 1, &storage));
    EXPECT_TRUE(ids.empty());
    EXPECT_FALSE(LINSignal::signalsInUse(record, nullptr, 1, &storage));

    auto first = std::make_unique<LINSignal>(linDef("first", 5, 0), false, &storage);
    LINSignal second(linDef("second", 0x45, 8), false, &storage);
    LINSignal other(linDef("other", 0x3c, 0), false, &storage);
    EXPECT_EQ(LINSignal::linContainer.count(0x400000000001023CULL), 1u);
    EXPECT_TRUE(LINSignal::signalsInUse(record, nullptr, 1, &storage));
    EXPECT_TRUE(LINSignal::decodeMessage(linFrame(0xC5, 2), ids, 1, &storage));
    EXPECT_EQ(ids, (std::vector<unsigned long>{first->id, second.id}));
    EXPECT_EQ(rawOf(second), 2u);
    EXPECT_EQ(second.slot->timestamp, 500u);
    BaseSignal::onlyReceivedBits = true; // "second" reads byte 1, which a 1-byte frame lacks
    EXPECT_TRUE(LINSignal::decodeMessage(linFrame(0xC5, 1), ids, 1, &storage));
    EXPECT_EQ(ids, (std::vector<unsigned long>{first->id}));
    BaseSignal::onlyReceivedBits = false;

    // No data bytes, or a count that wraps to 0 in 8 bits: nothing written.
    EXPECT_FALSE(LINSignal::decodeMessage(linFrame(0x3c, 0), ids, 1, &storage));
    EXPECT_FALSE(LINSignal::decodeMessage(linFrame(0x3c, 256), ids, 1, &storage));
    EXPECT_FALSE(other.slot->valid);

    first.reset();
    EXPECT_EQ(LINSignal::linContainer.at(0x4000000000010205ULL), std::vector<LINSignal*>{&second});

    // A frame no signal reads is reported at debug level 2 only.
    const auto unknown = linFrame(8, 1);
    OutputCapture capture;
    BaseSignal::debug = 1;
    LINSignal::decodeMessage(unknown, ids, 1, &storage);
    EXPECT_EQ(capture.out(), "");
    BaseSignal::debug = 2;
    LINSignal::decodeMessage(unknown, ids, 1, &storage);
    BaseSignal::debug = 0;
    EXPECT_EQ(capture.out(), "[DEBUG] LINSignal::decodeMessage() LIN message not in canMessageContainer: " +
                                 printed(unknown) + ", id = 0\n");
}
