// Ethernet signal definitions: byte ranges, registration and children, the
// class-wide tables and their teardown, print forms, signalsInUse.
#include "EthernetTestSupport.h"
#include "support/OutputCapture.h"

#include <memory>
#include <sstream>

using namespace ethernet_test;

namespace {

// A raw trace record around `frame`: type 14 (MII) or 4 (Ethernet, kind 8).
std::vector<uint8_t> record(uint16_t type, uint8_t onChannel, const std::vector<uint8_t>& frame)
{
    const size_t lengthAt = type == 14 ? 24 : 20;
    std::vector<uint8_t> rec(lengthAt + 2);
    rec[3] = uint8_t(type), rec[14] = onChannel, rec[15] = 8, rec[16] = onChannel;
    rec[lengthAt] = uint8_t(frame.size() >> 8), rec[lengthAt + 1] = uint8_t(frame.size());
    rec.insert(rec.end(), frame.begin(), frame.end());
    return rec;
}

// Each position's byte range, "startByte+numBytes".
std::string ranges(const ethernetSignalDef_t& def)
{
    std::string text;
    for (const ethernetPosition_t& pos : def.positions)
        text += std::to_string(pos.startByte) + "+" + std::to_string(pos.numBytes) + " ";
    return text;
}

} // namespace

TEST_F(EthernetTest, ByteRangesAndRejection)
{
    auto le = definition("le", {position(ETH_DEFAULT, 4), position(ETH_DEFAULT, 0)}, 64);
    EXPECT_FALSE(EthernetSignal::checkSignalDefinition(le));
    EXPECT_EQ(ranges(le), "0+9 0+0 "); // the second left as it was
    le.positions.erase(le.positions.begin());
    EXPECT_TRUE(EthernetSignal::checkSignalDefinition(le));
    EXPECT_EQ(ranges(le), "0+8 ");
    // The msb at bit 4 of byte 2: bytes 2 to 4.
    auto be = definition("be", {position(ETH_DEFAULT, 7), position(ETH_DEFAULT, 20)}, 16, true);
    EXPECT_TRUE(EthernetSignal::checkSignalDefinition(be));
    EXPECT_EQ(ranges(be), "0+2 2+3 ");
    auto wide = definition("wide", {position(ETH_DEFAULT, 8), position(ETH_DEFAULT, 8)}, 65);
    EXPECT_FALSE(EthernetSignal::checkSignalDefinition(wide));
    EXPECT_EQ(ranges(wide), "1+9 0+0 "); // too many bits: the check stops at the first
    const EthernetSignal rejected(definition("rejected", {position(ETH_DEFAULT, 4)}, 64), false, &storage);
    EXPECT_EQ(rejected.id, ~0UL);
    EXPECT_TRUE(storage.ethernetSignals.empty() && storage.instancesById.empty());
}

TEST_F(EthernetTest, ThreePositionsGiveOneSignalAndTwoChildren)
{
    auto second = position(ETH_IPDU, 0, 7), third = position(ETH_DEFAULT, 0);
    second.destinationPort = port + 1;
    third.destinationPort = port + 2;
    EthernetSignal sig(definition("multi", {position(ETH_DEFAULT, 0), second, third}), false, &storage);
    ASSERT_EQ(sig.children.size(), 2u);
    EXPECT_EQ(sig.id >> 60, 1u);
    EXPECT_EQ(sig.children[1]->id, sig.id);
    EXPECT_EQ(sig.children[0]->definition.positions.size(), 1u);
    EXPECT_EQ(storage.ethernetSignals.at(sig.id), std::vector<EthernetSignal*>{&sig});
    EXPECT_EQ(EthernetSignal::ethernetFrames.size(), 3u);

    // A frame of the second position updates the shared value.
    const auto frame = udpFrame(port + 1).ipdu(7, {0x42}).fill(1).build();
    EXPECT_TRUE(EthernetSignal::decodeMessage(mii(frame, channel, 77), ids, &storage));
    EXPECT_EQ(ids, std::vector<unsigned long>{sig.id});
    EXPECT_EQ(rawOf(sig), 0x42u);
    EXPECT_EQ(sig.slot->timestamp, 77u);
}

TEST_F(EthernetTest, IdentifierCollisionAndPrintForms)
{
    BaseSignal squatter(baseSignalDef_t{}, false, &storage);
    const unsigned long next = BaseSignal::instanceCounter + 0x1000000000000000UL;
    storage.instancesById[next] = &squatter;
    OutputCapture capture;
    EthernetSignal late(definition("late", {position(ETH_DEFAULT, 0)}), false, &storage);
    EXPECT_EQ(capture.out(), "[ERROR] EthernetSignal::EthernetSignal() gpId 0x" + hexText(next) + " already exists\n");
    EXPECT_EQ(late.id, ~0UL);
    // Filed before the clash showed; its destructor still finds it there,
    // so the tables are dropped once the last signal below goes.
    EXPECT_EQ(storage.ethernetSignals.at(next), std::vector<EthernetSignal*>{&late});
    storage.instancesById.erase(next);

    const EthernetSignal sig(definition("printed", {position(ETH_SOMEIP, 12, 0x1234, 0x8001)}), false, &storage);
    // Every field of a position is compared in the JSON definitions' tests;
    // here an empty definition, the kind names and the signal's form.
    EXPECT_EQ(printed(ethernetSignalDef_t{}), printed(baseSignalDef_t{}) + "[no positions]");
    EXPECT_EQ(printed(ethSignalPosType_t(4)) + printed(ETH_SPDU) + printed(ETH_SOMEIP), "SPDUSOME/IP");
    std::ostringstream form;
    form << sig << ' ' << 10;
    EXPECT_EQ(form.str(), printed(static_cast<const BaseSignal&>(sig)) + ";" + printed(sig.definition) + ";index=" +
                              hexText(sig.id) + " 10"); // and back to decimal
    EXPECT_EQ(sig.def.startbit, 4); // the codec starts in the value's first byte
}

TEST_F(EthernetTest, SignalsInUseAndTheLastSignalDroppingTheLists)
{
    const auto frame = udpFrame().bytes({1, 2}).build();
    EXPECT_FALSE(EthernetSignal::signalsInUse(record(14, channel, frame).data(), nullptr, &storage));
    auto sig = std::make_unique<EthernetSignal>(definition("used", {position(ETH_DEFAULT, 0)}), false, &storage);

    EXPECT_TRUE(EthernetSignal::signalsInUse(record(14, channel, frame).data(), nullptr, &storage));
    EXPECT_TRUE(EthernetSignal::signalsInUse(record(4, channel, frame).data(), nullptr, &storage));
    EXPECT_FALSE(EthernetSignal::signalsInUse(record(14, channel + 1, frame).data(), nullptr, &storage));
    auto ethernet = record(4, channel, frame);
    ethernet[15] = 7;
    EXPECT_FALSE(EthernetSignal::signalsInUse(ethernet.data(), nullptr, &storage));
    ethernet[15] = 8, ethernet[16] = channel + 1; // offset 16 is tested first, whatever the type
    EXPECT_FALSE(EthernetSignal::signalsInUse(ethernet.data(), nullptr, &storage));
    EXPECT_FALSE(EthernetSignal::signalsInUse(record(14, channel, udpFrame(80).build()).data(), nullptr, &storage));
    EXPECT_EQ(EthernetSignal::negativeList.size(), 1u);

    sig.reset();
    EXPECT_TRUE(EthernetSignal::negativeList.empty());
    EXPECT_FALSE(EthernetSignal::channelsInUse[channel]);
}
