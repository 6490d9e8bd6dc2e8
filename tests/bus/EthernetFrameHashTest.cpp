// Frame identity: the hash shared by positions and frames, the wildcard
// rules of match, the print form.
#include "EthernetTestSupport.h"

#include <sstream>

using namespace ethernet_test;

TEST(EthernetFrameHash, HashAndPrintForm)
{
    miiFrameInfo_t frame;
    ASSERT_TRUE(MIITraceMessage::analyzeFrame(udpFrame().build().data(), 46, frame));
    // Reference values of the golden-ratio fold, computed independently.
    EXPECT_EQ(EthernetFrameHash().hash, 0xcd25af0eu);
    EXPECT_EQ(hashFrame(frame, 2), 0xab48c11db3936955u);

    // A position holding exactly a frame's fields hashes as the frame; a copy
    // leaves the channel behind and hashes accordingly.
    ethernetPosition_t pos = position(ETH_DEFAULT, 0);
    pos.sourceIp = 0x0100a8c0; // 192.168.0.1 in network order
    pos.vlan = true;
    frame = miiFrameInfo_t{0, 0, pos.sourceIp, 0, 0, port, 17, 1, 0, 0};
    const EthernetFrameHash exact(pos, 2);
    EXPECT_EQ(exact.hash, uint32_t(hashFrame(frame, 2)));
    EXPECT_EQ(EthernetFrameHash(exact).hash, uint32_t(hashFrame(frame, 0)));

    std::ostringstream os;
    os << exact << ' ' << true;
    EXPECT_EQ(os.str(), "sMAC=00:00:00:00:00:00,dMAC=00:00:00:00:00:00,sIP=192.168.0.1,dIP=0.0.0.0,sP=0,dP=30501,"
                        "ipProto=17,vlan=true,vId=0 true");
}

TEST(EthernetFrameHash, MatchWildcards)
{
    miiFrameInfo_t frame, untagged;
    ASSERT_TRUE(MIITraceMessage::analyzeFrame(udpFrame().build().data(), 46, frame));
    untagged = frame;
    untagged.vlan = 0;
    untagged.vlanId = 0;
    EXPECT_TRUE(EthernetFrameHash().match(frame, 0));
    EXPECT_FALSE(EthernetFrameHash().match(frame, 1));

    // MAC bits above 47 survive the position constructor, not setFrame.
    ethernetPosition_t pos;
    pos.sourceMac = 0xffff000000000000 | frame.sourceMac;
    EXPECT_FALSE(EthernetFrameHash(pos, 2).match(frame, 2));
    EthernetFrameHash masked;
    masked.setFrame(pos, 2);
    EXPECT_TRUE(masked.match(frame, 2));
    EXPECT_FALSE(masked.match(frame, 3));

    const auto matches = [](void (*edit)(ethernetPosition_t&), const miiFrameInfo_t& seen) {
        ethernetPosition_t p;
        edit(p);
        return EthernetFrameHash(p, 0).match(seen, 0);
    };
    EXPECT_TRUE(matches([](ethernetPosition_t& p) { p.ipProtocol = 17; }, frame));
    EXPECT_FALSE(matches([](ethernetPosition_t& p) { p.ipProtocol = 6; }, frame));
    miiFrameInfo_t protocol44 = frame;
    protocol44.ipProtocol = 300 & 0xff;
    EXPECT_FALSE(matches([](ethernetPosition_t& p) { p.ipProtocol = 300; }, protocol44));
    EXPECT_TRUE(matches([](ethernetPosition_t&) {}, untagged));
    // The VLAN id is required even where the flag is not.
    EXPECT_TRUE(matches([](ethernetPosition_t& p) { p.vlanId = 5; }, frame));
    EXPECT_FALSE(matches([](ethernetPosition_t& p) { p.vlanId = 5; }, untagged));
    EXPECT_TRUE(matches([](ethernetPosition_t& p) { p.vlan = true; }, frame));
    EXPECT_FALSE(matches([](ethernetPosition_t& p) { p.vlan = true; }, untagged));
    EXPECT_FALSE(matches([](ethernetPosition_t& p) { p.destinationIp = 1; }, frame));
}
