// Signals, frames and a fixture shared by the Ethernet signal tests.
#pragma once

#include "bus/EthernetSignal.h"
#include "support/FrameBuilder.h"
#include "support/Printed.h"
#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace ethernet_test {

constexpr uint8_t channel = 2;
constexpr uint16_t port = 30501;

// Bound to UDP frames to `port`; `id` serves whichever container.
inline ethernetPosition_t position(ethSignalPosType_t type, uint16_t startBit, uint32_t id = 0, uint16_t method = 0)
{
    ethernetPosition_t pos;
    pos.ethSignalType = type, pos.startBit = startBit, pos.destinationPort = port, pos.ipProtocol = 17;
    pos.pduId = pos.messageId = pos.serviceId = id;
    pos.methodEventId = method;
    return pos;
}

inline ethernetSignalDef_t definition(const std::string& name, std::vector<ethernetPosition_t> positions,
                                      uint8_t bits = 8, bool bigEndian = false)
{
    auto def = definitionOf<ethernetSignalDef_t>(name, bits);
    def.channel = channel, def.endian = bigEndian, def.positions = std::move(positions);
    return def;
}

// Ethernet, a VLAN tag, IPv4 and UDP; the payload (at 46) is the caller's.
inline FrameBuilder udpFrame(uint16_t destinationPort = port)
{
    return FrameBuilder().ethernet(2, 1).tag(0x8100, 5).ipv4(17, 0xc0a80001, 0xc0a80002).udp(30000, destinationPort);
}

inline MIITraceMessage mii(std::vector<uint8_t> frame, uint8_t onChannel = channel, uint64_t timestamp = 1000)
{
    return MIITraceMessage{timestamp, std::move(frame), onChannel};
}

// Every test must leave the class-wide tables empty, as destroying a
// storage's last Ethernet signal does.
class EthernetTest : public ::testing::Test {
protected:
    void TearDown() override
    {
        const auto& used = EthernetSignal::channelsInUse;
        EXPECT_TRUE(EthernetSignal::ethernetFrames.empty() && EthernetSignal::positiveList.empty() &&
                    EthernetSignal::negativeList.empty());
        EXPECT_TRUE(std::none_of(used.begin(), used.end(), [](bool inUse) { return inUse; }));
        BaseSignal::debug = 0;
        EthernetSignal::containerFraming = EthernetSignal::LoggerFraming;
    }

    SignalStorage storage;
    std::vector<unsigned long> ids;
};

} // namespace ethernet_test
