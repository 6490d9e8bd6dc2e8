// CAN signals as a client sees them: frame keys, definition checks, the frame
// table, and decoding of classic, CAN FD, PDU and multiplexed frames.
#include "bus/CANSignal.h"
#include "signal/FrameTableEdits.h"
#include "support/OutputCapture.h"
#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <tuple>

namespace {

using Ids = std::vector<unsigned long>;

canSignalDef_t canDef(const std::string& name, uint32_t msgId, uint16_t startbit, uint8_t bits, bool fd = false)
{
    auto def = definitionOf<canSignalDef_t>(name, bits, startbit);
    def.channel = 1, def.msgId = msgId, def.canFD = fd;
    return def;
}

CANExtTraceMessage frame(uint32_t canId, uint8_t length, uint32_t format = 0)
{
    CANExtTraceMessage ctm;
    ctm.timestamp = 1000, ctm.channel = 1, ctm.frameFormat = format, ctm.canId = canId, ctm.length = length;
    for (int i = 0; i < 64; ++i)
        ctm.payload[i] = static_cast<uint8_t>(i);
    return ctm;
}

// Decodes `ctm` for tslId 0; the result must say whether any identifier was
// reported, and the list is emptied first even on a miss.
Ids decoded(const CANExtTraceMessage& ctm, SignalStorage& storage)
{
    Ids ids{42};
    const bool any = CANSignal::decodeMessage(ctm, ids, 0, &storage);
    EXPECT_EQ(any, !ids.empty());
    return ids;
}

// Records the length each byte-array write is handed.
struct LengthSpy : CANSignal {
    using CANSignal::CANSignal;
    bool write(const unsigned char* data, unsigned long length, unsigned long timestamp) override
    {
        lengths.push_back(length);
        return CANSignal::write(data, length, timestamp);
    }
    using CANSignal::write;
    std::vector<unsigned long> lengths;
};

// Counts the payload-word writes, which the byte-array write calls.
struct WordSpy : CANSignal {
    using CANSignal::CANSignal;
    bool write(unsigned long payload, unsigned long timestamp) override
    {
        ++writes;
        return CANSignal::write(payload, timestamp);
    }
    using CANSignal::write;
    int writes = 0;
};

} // namespace

TEST(CANSignal, FrameKeysAddTheirTerms)
{
    EXPECT_EQ(CANSignal::canKey(0, 2, 0x123, false, false), 0x8000000200000123ULL);
    EXPECT_EQ(CANSignal::canKey(0, 2, 0x123, true, true), 0x80000002C0000123ULL);
    EXPECT_EQ(CANSignal::canKey(0x81, 2, 0x123, false, false), 0x0100000200000123ULL); // carried out of bit 63
    EXPECT_EQ(CANSignal::canKey(0, 1, 0x40000123, false, false), CANSignal::canKey(0, 1, 0x123, false, true));

    SignalStorage storage;
    auto def = canDef("k", 0x123, 0, 8);
    def.channel = 2, def.extended = true, def.tslId = 3;
    CANSignal sig(def, false, &storage);
    EXPECT_EQ(CANSignal::canContainer.at(0x8300000280000123ULL), std::vector<CANSignal*>{&sig});
    unsigned char record[22] = {};
    record[14] = 2, record[18] = 0x80, record[20] = 0x01, record[21] = 0x23;
    EXPECT_TRUE(CANSignal::signalsInUse(record, nullptr, 3, &storage));
    SignalStorage empty; // the key exists, but not for this storage
    EXPECT_FALSE(CANSignal::signalsInUse(record, nullptr, 3, &empty));
}

TEST(CANSignal, CanFDDefinitionsAreNarrowedToEightBytes)
{
    auto def = canDef("fd_bad", 0x200, 100, 12, true);
    EXPECT_TRUE(CANSignal::checkSignalDefinition(def));
    EXPECT_EQ(std::tie(def.startByte, def.numBytes), std::make_tuple(12, 2));
    def.startbit = 4, def.bits = 64;
    EXPECT_FALSE(CANSignal::checkSignalDefinition(def));
    EXPECT_EQ(def.numBytes, 9);

    SignalStorage storage;
    CANSignal ok(canDef("fd_ok", 0x200, 100, 12, true), false, &storage);
    auto bad = std::make_unique<CANSignal>(def, false, &storage);
    EXPECT_EQ(bad->id, ~0UL);
    EXPECT_EQ(BaseSignal::getInstance("fd_bad", &storage), bad.get());
    EXPECT_EQ(decoded(frame(0x200, 64, 2), storage), Ids{ok.id});
    EXPECT_EQ(rawOf(ok), 0x0d0u); // bits 100..111 of the frame
    EXPECT_EQ(rawOf(*bad), ~0UL);
    bad.reset();
    EXPECT_EQ(storage.canSignals.size(), 1u);
    EXPECT_EQ(CANSignal::canContainer.size(), 1u);
}

TEST(CANSignal, FrameTableOrderCleanupAndDuplicateIdentifiers)
{
    SignalStorage storage;
    auto a = std::make_unique<CANSignal>(canDef("a", 0x10, 0, 8), false, &storage);
    auto b = std::make_unique<CANSignal>(canDef("b", 0x10, 8, 8), false, &storage);
    const uint64_t key = CANSignal::canKey(0, 1, 0x10, false, false);
    EXPECT_EQ(CANSignal::canContainer.at(key), (std::vector<CANSignal*>{a.get(), b.get()}));

    OutputCapture capture;
    const unsigned long counter = BaseSignal::instanceCounter;
    BaseSignal::instanceCounter = b->id - 0x8000000000000000UL;
    CANSignal twin(canDef("twin", 0x10, 0, 8), false, &storage);
    BaseSignal::instanceCounter = counter;
    EXPECT_EQ(capture.out(), "[ERROR] CANSignal::CANSignal() gpId 0x" + hexText(b->id) + " already exists"); // no endl
    EXPECT_EQ(twin.id, ~0UL);
    EXPECT_EQ(BaseSignal::getInstance(b->id, &storage), b.get());

    a.reset();
    EXPECT_EQ(CANSignal::canContainer.at(key), std::vector<CANSignal*>{b.get()});
    b.reset();
    EXPECT_EQ(CANSignal::canContainer.count(key), 0u);
}

TEST(CANDecode, ClassicFrames)
{
    SignalStorage storage;
    EXPECT_EQ(decoded(frame(0x100, 8), storage), Ids{}); // no CAN signal at all
    CANSignal low(canDef("low", 0x100, 0, 16), false, &storage);
    CANSignal last(canDef("last", 0x100, 56, 8), false, &storage);
    EXPECT_EQ(decoded(frame(0x100, 8), storage), (Ids{low.id, last.id}));
    EXPECT_EQ(rawOf(low), 0x0100u);
    EXPECT_EQ(decoded(frame(0x101, 8), storage), Ids{});
    // Fields beyond the bytes received read zeros, unless the client asks
    // for the bits received only.
    EXPECT_EQ(decoded(frame(0x100, 2), storage), (Ids{low.id, last.id}));
    BaseSignal::onlyReceivedBits = true;
    EXPECT_EQ(decoded(frame(0x100, 2), storage), Ids{low.id});
    EXPECT_EQ(decoded(frame(0x100, 1), storage), Ids{});
    BaseSignal::onlyReceivedBits = false;

    // A classic definition on an FD frame (its identifier adds into the FD
    // flag) is written through the byte-array write with the frame's length
    // code and sees the first eight bytes of long frames; short frames zero-fill.
    LengthSpy onFD(canDef("onFD", 0x40000100, 56, 8), false, &storage);
    for (uint8_t length : {20, 200, 3}) {
        EXPECT_EQ(decoded(frame(0x100, length, 2), storage), Ids{onFD.id});
        EXPECT_EQ(rawOf(onFD), length > 7 ? 7u : 0u);
    }
    EXPECT_EQ(onFD.lengths, (std::vector<unsigned long>{11, 15, 3}));
}

TEST(CANDecode, FramesFollowTheTableAsItChanges)
{
    SignalStorage storage;
    CANSignal a(canDef("a", 0x500, 0, 64), false, &storage);
    EXPECT_EQ(decoded(frame(0x500, 3), storage), Ids{a.id});
    EXPECT_EQ(rawOf(a), 0x020100u); // the bytes past a short frame's length read as zero

    // Signals filed and destroyed after decoding has started.
    auto b = std::make_unique<CANSignal>(canDef("b", 0x500, 8, 8), false, &storage);
    CANSignal c(canDef("c", 0x501, 0, 8), false, &storage);
    EXPECT_EQ(decoded(frame(0x500, 8), storage), (Ids{a.id, b->id}));
    EXPECT_EQ(decoded(frame(0x501, 8), storage), Ids{c.id});
    b.reset();
    EXPECT_EQ(decoded(frame(0x500, 8), storage), Ids{a.id});

    // Edits of the table by the client: a new key, an entry's vector changed
    // in place (announced), a key erased.
    const uint64_t key = CANSignal::canKey(0, 1, 0x502, false, false);
    CANSignal::canContainer[key] = {&c};
    EXPECT_EQ(decoded(frame(0x502, 8), storage), Ids{c.id});
    CANSignal::canContainer[key].push_back(&a);
    FrameTableEdits::note();
    EXPECT_EQ(decoded(frame(0x502, 8), storage), (Ids{c.id, a.id}));
    CANSignal::canContainer.erase(key);
    EXPECT_EQ(decoded(frame(0x502, 8), storage), Ids{});

    // A subclass's own write is called, for classic and CAN FD signals alike.
    WordSpy classic(canDef("spyClassic", 0x503, 0, 8), false, &storage);
    WordSpy fd(canDef("spyFD", 0x503, 8, 8, true), false, &storage);
    EXPECT_EQ(decoded(frame(0x503, 8), storage), (Ids{classic.id}));
    EXPECT_EQ(decoded(frame(0x40000503, 8), storage), (Ids{fd.id}));
    EXPECT_EQ(std::make_tuple(classic.writes, fd.writes, rawOf(fd)), std::make_tuple(1, 1, 1ul));
}

TEST(CANDecode, CanFDByteRangesAndPdus)
{
    SignalStorage storage;
    CANSignal tail(canDef("tail", 0x200, 480, 32, true), false, &storage); // bytes 60..63
    auto inPdu = canDef("pdu20", 0x200, 8, 8, true);
    inPdu.pduId = 0x20;
    CANSignal pdu20(inPdu, false, &storage);
    inPdu.instance = "pdu30", inPdu.pduId = 0x30;
    CANSignal pdu30(inPdu, false, &storage);

    auto ctm = frame(0x200, 62, 2);
    ctm.payload[0] = 0, ctm.payload[1] = 0, ctm.payload[2] = 0x10, ctm.payload[3] = 8;     // data 4..11
    ctm.payload[12] = 0, ctm.payload[13] = 0, ctm.payload[14] = 0x20, ctm.payload[15] = 4; // data 16..19
    ctm.payload[23] = 0xff; // the header at 20 sends the chain past the payload
    OutputCapture capture;
    BaseSignal::debug = 1;
    EXPECT_EQ(decoded(ctm, storage), Ids{pdu20.id});
    BaseSignal::debug = 0;
    EXPECT_EQ(rawOf(pdu20), 17u); // PDU data at 16, plus startByte 1
    EXPECT_NE(capture.out().find("[DEBUG] CANSignal::decodeMessage() tail: payload to small\n"), std::string::npos);

    ctm.length = 64;
    EXPECT_EQ(decoded(ctm, storage), (Ids{tail.id, pdu20.id}));
    EXPECT_EQ(rawOf(tail), 0x3f3e3d3cu);
    ctm.length = 0;
    EXPECT_EQ(decoded(ctm, storage), Ids{});
    ctm.length = 255;    // counts as the 64 bytes that exist
    ctm.payload[3] = 58; // next header at 62, read partly past the array
    EXPECT_EQ(decoded(ctm, storage), Ids{tail.id});
}

TEST(CANDecode, MultiplexersSelectASecondStage)
{
    SignalStorage storage;
    auto muxDef = canDef("mux", 0x300, 0, 8);
    muxDef.multiplexer = 1;
    CANSignal mux(muxDef, false, &storage);
    muxDef.instance = "mux2", muxDef.startbit = 8;
    CANSignal mux2(muxDef, false, &storage);
    CANSignal classic(canDef("classic", 0x301, 16, 8), false, &storage);
    CANSignal fd(canDef("fd", 0x302, 80, 8, true), false, &storage); // byte 10 of an 8-byte frame
    CANSignal nested(canDef("nested", 0x303, 24, 8), false, &storage);
    // Clients file multiplexed signals under the frame key plus the value term.
    const uint64_t first = CANSignal::canKey(0, 1, 0x300, false, false) + CANSignal::multiplexerTerm(0);
    CANSignal::canContainer[first] = {&classic, &fd};
    CANSignal::canContainer[first + CANSignal::multiplexerTerm(1)] = {&nested};

    auto ctm = frame(0x300, 8);
    EXPECT_EQ(decoded(ctm, storage), (Ids{mux.id, classic.id, mux2.id, nested.id})); // fd written, not reported
    EXPECT_EQ(std::make_tuple(rawOf(classic), rawOf(fd), rawOf(nested)), std::make_tuple(2ul, 10ul, 3ul));
    ctm.payload[0] = 5; // no second stage filed for this value
    EXPECT_EQ(decoded(ctm, storage), (Ids{mux.id, mux2.id}));
}
