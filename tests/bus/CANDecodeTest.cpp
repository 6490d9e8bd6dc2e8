// Decoding received CAN and CAN FD frames: classic fields, byte ranges, PDUs,
// multiplexers, frames that lie about their length, and shared slots.
#include "bus/CANSignal.h"
#include "support/ChildProcess.h"
#include "support/OutputCapture.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

canSignalDef_t canDef(const std::string& instance, uint32_t msgId, uint16_t startbit, uint8_t bits, bool fd = false)
{
    canSignalDef_t def;
    def.instance = def.signal = instance;
    def.channel = 1;
    def.msgId = msgId;
    def.startbit = startbit;
    def.bits = bits;
    def.canFD = fd;
    return def;
}

CANExtTraceMessage frame(uint32_t canId, uint8_t length, bool fd = false)
{
    CANExtTraceMessage ctm;
    ctm.timestamp = 1000;
    ctm.channel = 1;
    ctm.frameFormat = fd ? 2 : 0;
    ctm.canId = canId;
    ctm.length = length;
    for (int i = 0; i < 64; ++i)
        ctm.payload[i] = static_cast<uint8_t>(i);
    return ctm;
}

unsigned long rawOf(BaseSignal& signal)
{
    unsigned long raw = 0, ts = 0;
    return signal.read(raw, ts) ? raw : ~0UL;
}

} // namespace

TEST(CANDecode, ClassicFramesReportTheirSignalsInOrder)
{
    SignalStorage storage;
    std::vector<unsigned long> ids{42};
    EXPECT_FALSE(CANSignal::decodeMessage(frame(0x100, 8), ids, 0, &storage));
    EXPECT_TRUE(ids.empty()); // emptied, even with no CAN signal at all

    CANSignal low(canDef("low", 0x100, 0, 16), false, &storage);
    CANSignal last(canDef("last", 0x100, 56, 8), false, &storage);
    ids = {42};
    EXPECT_TRUE(CANSignal::decodeMessage(frame(0x100, 8), ids, 0, &storage));
    EXPECT_EQ(ids, (std::vector<unsigned long>{low.id, last.id}));
    EXPECT_EQ(rawOf(low), 0x0100u);
    EXPECT_EQ(rawOf(last), 7u);

    EXPECT_FALSE(CANSignal::decodeMessage(frame(0x101, 8), ids, 0, &storage));
    EXPECT_TRUE(ids.empty());
    EXPECT_FALSE(CANSignal::decodeMessage(frame(0x100, 8), ids, 1, &storage)); // other trace source

    // Long frames: classic signals see the first eight bytes, whatever the
    // length claims; shorter frames zero-fill.
    for (uint8_t length : {20, 64, 200}) {
        auto ctm = frame(0x100, length);
        ctm.payload[7] = length;
        EXPECT_TRUE(CANSignal::decodeMessage(ctm, ids, 0, &storage));
        EXPECT_EQ(rawOf(last), length);
    }
    EXPECT_TRUE(CANSignal::decodeMessage(frame(0x100, 3), ids, 0, &storage));
    EXPECT_EQ(rawOf(last), 0u);
}

TEST(CANDecode, CanFDByteRangesAndPdus)
{
    SignalStorage storage;
    CANSignal tail(canDef("tail", 0x200, 480, 32, true), false, &storage); // bytes 60..63
    auto inPdu = canDef("inPdu", 0x200, 8, 8, true);
    inPdu.pduId = 0x20;
    CANSignal pdu20(inPdu, false, &storage);
    inPdu.instance = "missing", inPdu.pduId = 0x30;
    CANSignal pdu30(inPdu, false, &storage);

    auto ctm = frame(0x200, 62, true);
    ctm.payload[0] = 0, ctm.payload[1] = 0, ctm.payload[2] = 0x10, ctm.payload[3] = 8;      // data 4..11
    ctm.payload[12] = 0, ctm.payload[13] = 0, ctm.payload[14] = 0x20, ctm.payload[15] = 4;  // data 16..19
    ctm.payload[23] = 0xff; // the header at 20 sends the chain past the payload
    std::vector<unsigned long> ids;
    OutputCapture capture;
    BaseSignal::debug = 1;
    EXPECT_TRUE(CANSignal::decodeMessage(ctm, ids, 0, &storage));
    BaseSignal::debug = 0;
    EXPECT_EQ(ids, std::vector<unsigned long>{pdu20.id});
    EXPECT_EQ(rawOf(pdu20), 17u); // data of PDU 0x20 at 16, plus startByte 1
    EXPECT_NE(capture.out().find("[DEBUG] CANSignal::decodeMessage() tail: payload to small\n"), std::string::npos);
    EXPECT_NE(capture.out().find("[DEBUG] CANSignal::decodeMessage() missing not found\n"), std::string::npos);

    ctm.length = 64;
    EXPECT_TRUE(CANSignal::decodeMessage(ctm, ids, 0, &storage));
    EXPECT_EQ(ids, (std::vector<unsigned long>{tail.id, pdu20.id}));
    EXPECT_EQ(rawOf(tail), 0x3f3e3d3cu);

    ctm.length = 0; // nothing received: no PDU, no range
    EXPECT_FALSE(CANSignal::decodeMessage(ctm, ids, 0, &storage));
    ctm.length = 255; // a length past the payload array counts as the array
    ctm.payload[3] = 58; // next header at 62, read partly past the array (as zeros)
    EXPECT_TRUE(CANSignal::decodeMessage(ctm, ids, 0, &storage));
    EXPECT_EQ(ids, std::vector<unsigned long>{tail.id});
}

TEST(CANDecode, MultiplexersSelectASecondStage)
{
    SignalStorage storage;
    auto muxDef = canDef("mux", 0x300, 0, 8);
    muxDef.multiplexer = 1;
    CANSignal mux(muxDef, false, &storage);
    muxDef.instance = "mux2", muxDef.startbit = 8;
    CANSignal mux2(muxDef, false, &storage);
    // Clients file multiplexed signals under the frame key plus the value term.
    CANSignal classic(canDef("classic", 0x301, 16, 8), false, &storage);
    CANSignal fd(canDef("fd", 0x302, 80, 8, true), false, &storage); // byte 10 of an 8-byte frame
    CANSignal nested(canDef("nested", 0x303, 24, 8), false, &storage);
    const uint64_t key = CANSignal::canKey(0, 1, 0x300, false, false);
    const uint64_t first = key + CANSignal::multiplexerTerm(0);
    EXPECT_EQ(first, key + 0x10000000000ULL);
    CANSignal::canContainer[first] = {&classic, &fd};
    CANSignal::canContainer[first + CANSignal::multiplexerTerm(1)] = {&nested};

    auto ctm = frame(0x300, 8);
    std::vector<unsigned long> ids;
    EXPECT_TRUE(CANSignal::decodeMessage(ctm, ids, 0, &storage));
    // mux = 0 selects classic and fd (fd written, not reported); mux2 = 1 then
    // adds its term on top of the first.
    EXPECT_EQ(ids, (std::vector<unsigned long>{mux.id, classic.id, mux2.id, nested.id}));
    EXPECT_EQ(rawOf(classic), 2u);
    EXPECT_EQ(rawOf(fd), 10u);
    EXPECT_EQ(rawOf(nested), 3u);

    ctm.payload[0] = 5; // no second stage for this value
    OutputCapture capture;
    BaseSignal::debug = 1;
    EXPECT_TRUE(CANSignal::decodeMessage(ctm, ids, 0, &storage));
    BaseSignal::debug = 0;
    EXPECT_EQ(ids, (std::vector<unsigned long>{mux.id, mux2.id}));
    EXPECT_NE(capture.out().find("[DEBUG] CANSignal::decodeMessage() mux = 5, id = 0x8000060100000300\n"),
              std::string::npos);
    EXPECT_NE(capture.out().find("mux: Multiplexed CAN message not in canMessageContainer: "), std::string::npos);
}

TEST(CANDecode, SharedSlotsAreSeenByAnotherProcess)
{
    const std::string instance = uniqueInstanceName("can");
    SignalStorage storage;
    OutputCapture quiet;
    auto def = canDef(instance, 0x400, 8, 16);
    auto sig = std::make_unique<CANSignal>(def, true, &storage);
    ASSERT_NE(sig->slot, &sig->privateSlot);

    const int status = runInChild([&] {
        SignalStorage childStorage;
        CANSignal writer(def, true, &childStorage);
        std::vector<unsigned long> ids;
        auto ctm = frame(0x400, 8);
        ctm.timestamp = 77;
        return CANSignal::decodeMessage(ctm, ids, 0, &childStorage) && ids.back() == writer.id ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    unsigned long raw = 0, ts = 0;
    EXPECT_TRUE(sig->read(raw, ts));
    EXPECT_EQ(raw, 0x0201u);
    EXPECT_EQ(ts, 77u);
    sig.reset();
    EXPECT_FALSE(segmentExists(instance));
    removeKeyFile(instance);
}
