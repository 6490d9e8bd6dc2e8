// Decoding captured frames: the container walks with their length rules,
// several signals per frame, the decision cache, and bad input that must
// never lead a read outside the frame.
#include "EthernetTestSupport.h"
#include "support/OutputCapture.h"

#include <memory>

using namespace ethernet_test;

namespace {

size_t occurrences(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

} // namespace

TEST_F(EthernetTest, DefaultAndIpduChains)
{
    EthernetSignal word(definition("word", {position(ETH_DEFAULT, 8)}, 16), false, &storage);
    EthernetSignal pdu(definition("pdu", {position(ETH_IPDU, 7, 2)}, 16, true), false, &storage);

    // PDU 2 ends exactly at the frame's end: not accepted. The word is
    // payload bytes 1 and 2, inside PDU 1's identifier.
    auto chain = udpFrame().ipdu(0x00341201, {0xaa}).ipdu(2, {0xbe, 0xef});
    EXPECT_TRUE(EthernetSignal::decodeMessage(mii(chain.build()), ids, &storage));
    EXPECT_EQ(ids, std::vector<unsigned long>{word.id});
    EXPECT_EQ(rawOf(word), 0x1234u);
    // One spare byte behind it: found.
    EXPECT_TRUE(EthernetSignal::decodeMessage(mii(chain.fill(1).build()), ids, &storage));
    EXPECT_EQ(ids.size(), 2u);
    EXPECT_EQ(rawOf(pdu), 0xbeefu);

    // Lengths of 0 and 0xffffffff end the walk.
    for (uint32_t length : {0u, 0xffffffffu}) {
        EthernetSignal::decodeMessage(mii(udpFrame().be32(2).be32(length).fill(20).build()), ids, &storage);
        EXPECT_EQ(ids, std::vector<unsigned long>{word.id}) << length;
    }
    // The word reaches one byte past a 2-byte payload.
    EXPECT_FALSE(EthernetSignal::decodeMessage(mii(udpFrame().bytes({1, 2}).build()), ids, &storage));
    EXPECT_TRUE(ids.empty());
}

TEST_F(EthernetTest, SpduAndSomeIpLengthRules)
{
    EthernetSignal spdu(definition("spdu", {position(ETH_SPDU, 0, 0x77)}), false, &storage);
    EthernetSignal someIp(definition("someip", {position(ETH_SOMEIP, 0, 0x1234, 0x8001)}), false, &storage);

    // An SPDU of length 0 stops the SPDU walk; a SOME/IP message of length 0
    // only moves the walk on by its 16-byte header.
    EXPECT_TRUE(EthernetSignal::decodeMessage(
        mii(udpFrame().spdu(0x66, {}).someIp(0x1234, 0x8001, {0x5a}).fill(1).build()), ids, &storage));
    EXPECT_EQ(ids, std::vector<unsigned long>{someIp.id});
    EXPECT_EQ(rawOf(someIp), 0x5au);

    // Each next header lies 16 + length on.
    EXPECT_TRUE(EthernetSignal::decodeMessage(
        mii(udpFrame().spdu(0x66, {1, 2, 3}).spdu(0x77, {0xc3}).fill(1).build()), ids, &storage));
    EXPECT_EQ(ids, std::vector<unsigned long>{spdu.id});
    EXPECT_EQ(rawOf(spdu), 0xc3u);

    // A length that runs past the frame ends both walks.
    const auto huge = udpFrame().be16(0x1234).be16(0x8001).be32(0xffffffff).fill(24).build();
    EXPECT_FALSE(EthernetSignal::decodeMessage(mii(huge), ids, &storage));
}

// Real traffic: SOME/IP lengths count from the end of the length field, and
// the last message or PDU of a datagram ends exactly at its end.
TEST_F(EthernetTest, ProtocolFramingOfSomeIpAndPdus)
{
    EthernetSignal someIp(definition("someip", {position(ETH_SOMEIP, 0, 0x1234, 0x8002)}), false, &storage);
    EthernetSignal pdu(definition("pdu", {position(ETH_IPDU, 0, 2)}), false, &storage);
    const auto message = [](FrameBuilder frame, uint16_t method, uint32_t length, FrameBuilder::Bytes data) {
        return frame.be16(0x1234).be16(method).be32(length).be32(0x00010001).bytes({1, 1, 2, 0}).bytes(data);
    };
    const auto twoMessages = message(message(udpFrame(), 0x8001, 8 + 2, {9, 9}), 0x8002, 8 + 1, {0x5a}).build();
    const auto pdus = udpFrame().ipdu(1, {0xaa}).ipdu(2, {0x3c}).build();

    EXPECT_FALSE(EthernetSignal::decodeMessage(mii(twoMessages), ids, &storage));
    EXPECT_FALSE(EthernetSignal::decodeMessage(mii(pdus), ids, &storage));

    EthernetSignal::containerFraming = EthernetSignal::ProtocolFraming;
    EXPECT_TRUE(EthernetSignal::decodeMessage(mii(twoMessages), ids, &storage));
    EXPECT_EQ(rawOf(someIp), 0x5au);
    EXPECT_TRUE(EthernetSignal::decodeMessage(mii(pdus), ids, &storage));
    EXPECT_EQ(rawOf(pdu), 0x3cu);
    // A SOME/IP length below 8 cannot even cover the rest of the header.
    EXPECT_FALSE(EthernetSignal::decodeMessage(mii(message(udpFrame(), 0x8002, 7, {0x5b}).build()), ids, &storage));
    // One byte more than the datagram holds.
    EXPECT_FALSE(EthernetSignal::decodeMessage(mii(message(udpFrame(), 0x8002, 8 + 2, {0x5b}).build()), ids, &storage));
    EXPECT_EQ(rawOf(someIp), 0x5au);
}

TEST_F(EthernetTest, SeveralSignalsAndTheDecisionCache)
{
    EthernetSignal first(definition("first", {position(ETH_DEFAULT, 0)}), false, &storage);
    EthernetSignal second(definition("second", {position(ETH_DEFAULT, 8)}), false, &storage);
    auto third = std::make_unique<EthernetSignal>(definition("third", {position(ETH_DEFAULT, 16)}), false, &storage);
    // Positions are visited in the order of their frame hashes' addresses.
    const auto written = [this] {
        std::sort(ids.begin(), ids.end());
        return ids;
    };
    const auto frame = udpFrame().bytes({1, 2, 3}).build();
    EXPECT_TRUE(EthernetSignal::decodeMessage(mii(frame), ids, &storage));
    EXPECT_EQ(written(), (std::vector<unsigned long>{first.id, second.id, third->id}));

    // Matching prints every position; cached answers match nothing again.
    BaseSignal::debug = 1;
    OutputCapture capture;
    const auto other = udpFrame(port + 1).bytes({1, 2, 3}).build();
    for (const auto* seen : {&frame, &other, &other})
        EthernetSignal::decodeMessage(mii(*seen), ids, &storage);
    const std::string out = capture.out();
    EXPECT_NE(out.find(" found in positiveList\n"), std::string::npos);
    EXPECT_NE(out.find(" not in use, inserted in negativeList\n"), std::string::npos);
    EXPECT_NE(out.find(" found in negativeList\n"), std::string::npos);
    EXPECT_EQ(occurrences(out, "sMAC="), 3u); // the three positions, on the other frame's first sight
    BaseSignal::debug = 0;

    // A destroyed signal leaves the cached list; the others go on.
    third.reset();
    EXPECT_TRUE(EthernetSignal::decodeMessage(mii(frame), ids, &storage));
    EXPECT_EQ(written(), (std::vector<unsigned long>{first.id, second.id}));
}

TEST_F(EthernetTest, MessageKindsChannelsAndUnknownContainers)
{
    EthernetSignal sig(definition("sig", {position(ETH_DEFAULT, 0)}), false, &storage);
    EthernetSignal odd(definition("odd", {position(ethSignalPosType_t(7), 0)}), false, &storage);

    EthernetTraceMessage msg{0, udpFrame().bytes({0x11}).build(), channel, 7};
    ids = {99};
    EXPECT_FALSE(EthernetSignal::decodeMessage(msg, ids, &storage));
    msg.channel = channel + 1;
    msg.kind = 8;
    EXPECT_FALSE(EthernetSignal::decodeMessage(msg, ids, &storage));
    EXPECT_FALSE(EthernetSignal::decodeMessage(mii(msg.frame, channel + 1), ids, &storage));
    EXPECT_EQ(ids, std::vector<unsigned long>{99}); // untouched

    // Reported even with debugging off; the frame's other signal is written.
    OutputCapture capture;
    msg.channel = channel;
    EXPECT_TRUE(EthernetSignal::decodeMessage(msg, ids, &storage));
    EXPECT_EQ(ids, std::vector<unsigned long>{sig.id});
    EXPECT_EQ(capture.out(), "[ERROR] EthernetSignal::decode() odd: unknown ethernet signal type = \n");
}

TEST_F(EthernetTest, BadInputStaysInsideTheFrame)
{
    EthernetSignal sig(definition("sig", {position(ETH_SOMEIP, 8, 0x1234, 0x8001)}, 16), false, &storage);

    // Every cut: only the whole frame, spare byte included, holds the value.
    // Each cut is a copy of exactly its size, so the sanitizer sees any read
    // beyond it.
    const auto whole = udpFrame().someIp(1, 1, {}).someIp(0x1234, 0x8001, {0, 0x22, 0x11}).fill(1).build();
    for (size_t length = 0; length <= whole.size(); ++length)
        EXPECT_EQ(EthernetSignal::decode(channel, {whole.begin(), whole.begin() + length}, 1, ids),
                  length == whole.size()) << length;
    EXPECT_EQ(rawOf(sig), 0x1122u);

    // Data found beyond offset 65535 wraps to the frame's start: here into
    // the first message's data.
    auto wrapped = udpFrame().be32(0).be32(65536).fill(8 + 65536).someIp(0x1234, 0x8001, {0, 0, 0}).fill(1).build();
    const size_t wrappedData = 46 + 16 + 65536 + 16 - 65536;
    wrapped[wrappedData + 1] = 0x44, wrapped[wrappedData + 2] = 0x33;
    EXPECT_TRUE(EthernetSignal::decode(channel, wrapped, 2, ids));
    EXPECT_EQ(rawOf(sig), 0x3344u);
}
