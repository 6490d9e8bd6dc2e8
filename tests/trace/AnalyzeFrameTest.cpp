// Frame analysis: VLAN tags, IPv4 and TCP options, fragments, and every way
// a frame can be cut short or point past its end.
#include "trace/MIITraceMessage.h"
#include "support/CaptureFile.h"
#include "support/FrameBuilder.h"
#include "support/Printed.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

constexpr uint64_t macA = 0x020000000001;
constexpr uint64_t macB = 0x020000000002;

// The sample frames, also kept as data/analyze_frames.pcap and cross-checked
// with an independent dissector (TShark 4.0.17, Debian 12; the checksums are
// left 0, which it does not verify by default), run from the
// repository root as one command line:
//
//   tshark -r tests/trace/data/analyze_frames.pcap -T fields -E separator=, -E occurrence=a
//     -e frame.number -e eth.src -e eth.dst -e ieee8021ad.id -e vlan.id -e ip.src -e ip.dst
//     -e ip.hdr_len -e ip.frag_offset -e udp.srcport -e udp.dstport -e tcp.srcport -e tcp.dstport
//     -e tcp.hdr_len -e tcp.len -e data.len
//
// which reported:
//
//   1,02:00:00:00:00:01,02:00:00:00:00:02,,5,192.168.0.1,192.168.0.2,20,0,30000,30501,,,,,4
//   2,02:00:00:00:00:02,02:00:00:00:00:01,100,200,10.0.0.1,10.0.0.2,24,0,,,1234,80,32,2,
//   3,02:00:00:00:00:01,02:00:00:00:00:02,,,192.168.0.1,192.168.0.2,20,185,,,,,,,8
//
// That is the analysis expected below: the first tag's VLAN id (5; 100 of
// 100 and 200), IPv4 headers of 20 and 24 bytes, a TCP header of 32 bytes, a
// later fragment with no transport header, and payloads of 4, 2 and 8 bytes,
// which end the frames of 50, 80 and 42 bytes, so they start at 46, 78, 34.
std::vector<std::vector<uint8_t>> sampleFrames()
{
    return {
        // UDP behind one 802.1Q tag: priority 3, VLAN 5.
        FrameBuilder().ethernet(macB, macA).tag(0x8100, 0x6005).ipv4(17, 0xc0a80001, 0xc0a80002)
            .udp(30000, 30501).bytes({1, 2, 3, 4}).build(),
        // TCP with 12 option bytes, IPv4 with router alert, behind an 802.1ad
        // service tag (VLAN 100) and an 802.1Q customer tag (VLAN 200).
        FrameBuilder().ethernet(macA, macB).tag(0x88a8, 100).tag(0x8100, 200)
            .ipv4(6, 0x0a000001, 0x0a000002, {0x94, 0x04, 0, 0})
            .tcp(1234, 80, {1, 1, 8, 10, 0, 0, 0, 1, 0, 0, 0, 0}).bytes({'h', 'i'}).build(),
        // A later fragment (offset 185 x 8) of a UDP datagram: no UDP header.
        FrameBuilder().ethernet(macB, macA).ipv4(17, 0xc0a80001, 0xc0a80002, {}, 0x00b9)
            .fill(8, 0xee).build(),
    };
}

// Analyses a copy of exactly `length` bytes, so that the sanitizer sees any
// read past the end.
bool analyzePrefix(const std::vector<uint8_t>& frame, size_t length, miiFrameInfo_t& result)
{
    const std::vector<uint8_t> copy(frame.begin(), frame.begin() + length);
    result = miiFrameInfo_t{};
    return MIITraceMessage::analyzeFrame(copy.data(), copy.size(), result);
}

} // namespace

TEST(AnalyzeFrame, TagsOptionsAndFragments)
{
    const auto frames = sampleFrames();
    const uint16_t payloadOffset[] = {46, 78, 34};
    const char* expected[] = {
        "sourceMac=02:00:00:00:00:01,destinationMac=02:00:00:00:00:02,sourceIp=192.168.0.1,destinationIp=192.168.0.2,"
        "sourcePort=30000,destinationPort=30501,ipProtocol=17,vlan=1,vlanId=5,payloadOffset=46",
        "sourceMac=02:00:00:00:00:02,destinationMac=02:00:00:00:00:01,sourceIp=10.0.0.1,destinationIp=10.0.0.2,"
        "sourcePort=1234,destinationPort=80,ipProtocol=6,vlan=1,vlanId=100,payloadOffset=78",
        "sourceMac=02:00:00:00:00:01,destinationMac=02:00:00:00:00:02,sourceIp=192.168.0.1,destinationIp=192.168.0.2,"
        "sourcePort=0,destinationPort=0,ipProtocol=17,vlan=0,vlanId=0,payloadOffset=34",
    };
    for (size_t f = 0; f < frames.size(); ++f) {
        // Every cut short of the payload fails; from there on the answer is whole.
        for (size_t length = 0; length <= frames[f].size(); ++length) {
            miiFrameInfo_t result;
            const bool analysed = analyzePrefix(frames[f], length, result);
            ASSERT_EQ(analysed, length >= payloadOffset[f]) << "frame " << f << " length " << length;
            if (analysed) {
                EXPECT_EQ(printed(result), expected[f]) << "frame " << f << " length " << length;
            }
        }
    }
    miiFrameInfo_t result;
    EXPECT_FALSE(MIITraceMessage::analyzeFrame(nullptr, 60, result));
}

TEST(AnalyzeFrame, RejectsWhatItCannotAnalyse)
{
    const auto udp = sampleFrames()[0];
    const auto tcp = sampleFrames()[1];
    const auto patched = [](std::vector<uint8_t> frame, size_t at, uint8_t value) {
        frame[at] = value;
        return frame;
    };
    const std::vector<std::vector<uint8_t>> rejected = {
        FrameBuilder().ethernet(macB, macA).be16(0x0806).fill(28).build(),              // ARP
        FrameBuilder().ethernet(macB, macA).ipv4(1, 1, 2).fill(8).build(),              // ICMP
        FrameBuilder().ethernet(macB, macA).tag(0x88a8, 1).tag(0x8100, 2).tag(0x8100, 3) // a third tag
            .ipv4(17, 1, 2).udp(1, 2).build(),
        patched(udp, 18, 0x65), // version 6 behind EtherType IPv4
        patched(udp, 18, 0x44), // IHL below the minimum
        patched(udp, 18, 0x4f), // IHL of 60 bytes, past the frame's end
        patched(tcp, 22 + 24 + 12, 0x40), // TCP data offset below the minimum
        patched(tcp, 22 + 24 + 12, 0xf0), // TCP data offset of 60 bytes, past the end
    };
    for (size_t r = 0; r < rejected.size(); ++r) {
        miiFrameInfo_t result;
        EXPECT_FALSE(analyzePrefix(rejected[r], rejected[r].size(), result)) << "case " << r;
    }
}

TEST(AnalyzeFrame, SampleCaptureMatchesTheFrames)
{
    // The capture the dissector read must be the frames tested above; after
    // a change, review the new capture with tshark and replace the old one.
    std::vector<CapturePacket> packets;
    for (const auto& frame : sampleFrames())
        packets.push_back({packets.size() + 1, 0, frame});
    const std::string fresh = CaptureFile::pcap(1, false, packets);
    std::ifstream stored(RKSIGNAL_TRACE_DATA "/analyze_frames.pcap", std::ios::binary);
    const std::string kept((std::istreambuf_iterator<char>(stored)), std::istreambuf_iterator<char>());
    if (kept != fresh)
        std::ofstream("analyze_frames.pcap.new", std::ios::binary) << fresh;
    EXPECT_TRUE(kept == fresh) << "wrote analyze_frames.pcap.new in the test's working directory";
}
