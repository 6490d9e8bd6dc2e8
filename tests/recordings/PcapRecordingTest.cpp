// Captures read through libpcap: time stamps of both precisions and of
// pcapng, each link type's header, and what is skipped, bad or fatal.
#include "recordings/PcapRecording.h"

#include "support/CaptureFile.h"
#include "support/FrameBuilder.h"
#include "support/OutputCapture.h"
#include "support/Printed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <tuple>

using namespace rksignal;

namespace {

using Bytes = std::vector<uint8_t>;

std::vector<RecordedMessage> readAll(const std::string& path, RecordingReport& report, uint8_t channel = 1,
                                     std::vector<bool> staticSlots = {}, std::map<uint32_t, uint8_t> interfaces = {})
{
    PcapRecording capture(path, channel, std::move(staticSlots), report, std::move(interfaces));
    EXPECT_TRUE(capture.isOpen()) << capture.openError();
    std::vector<RecordedMessage> messages;
    while (capture.next())
        messages.push_back(capture.message());
    return messages;
}

std::string tempPath(const std::string& name) { return testing::TempDir() + "rksignal_" + name; }

Bytes socketCan(uint32_t id, uint8_t length, uint8_t flags, Bytes data, uint8_t reserved = 0, bool hostOrder = false)
{
    Bytes packet{uint8_t(id >> 24), uint8_t(id >> 16), uint8_t(id >> 8), uint8_t(id), length, flags, reserved, 0};
    if (hostOrder)
        std::reverse(packet.begin(), packet.begin() + 4);
    packet.insert(packet.end(), data.begin(), data.end());
    return packet;
}

// Measurement header (channel bit, type 1), error flags, 5 frame header bytes.
Bytes flexRay(bool channelB, uint8_t errors, bool nullFrame, uint16_t slot, uint8_t words, uint8_t cycle, Bytes payload)
{
    Bytes packet{uint8_t((channelB ? 0x80 : 0) | 0x01), errors,
                 uint8_t((nullFrame ? 0 : 0x20) | (slot >> 8)), uint8_t(slot), uint8_t(words << 1), 0, cycle};
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

Bytes lin(uint8_t length, uint8_t type, uint8_t protectedId, uint8_t errors, Bytes data)
{
    Bytes packet{1, 0, 0, 0, uint8_t(length << 4 | type << 2 | 2), protectedId, 0x5a, errors};
    packet.insert(packet.end(), data.begin(), data.end());
    return packet;
}

const Bytes ethernetFrame(60, 0xab);

} // namespace

// Cross-checked with tshark 4.0.17 (Debian 12) on the files this test writes:
//   tshark -r rksignal_micro.pcap -T fields -e frame.time_epoch -e frame.len
//   -> 1700000000.123456000 60, 1700000001.000001000 60; rksignal_nano.pcap and rksignal_nano.pcapng
//   -> 1700000000.123456789 60, 1700000001.000001999 60
TEST(PcapRecording, MicroAndNanosecondTimeStampsBecomeMicroseconds)
{
    const std::vector<CapturePacket> micro{{1700000000, 123456, ethernetFrame}, {1700000001, 1, ethernetFrame}};
    const std::vector<CapturePacket> nano{{1700000000, 123456789, ethernetFrame}, {1700000001, 1999, ethernetFrame}};
    for (const std::string& path : {CaptureFile::write(tempPath("micro.pcap"), CaptureFile::pcap(1, false, micro)),
                                    CaptureFile::write(tempPath("nano.pcap"), CaptureFile::pcap(1, true, nano)),
                                    CaptureFile::write(tempPath("nano.pcapng"), CaptureFile::pcapng({1}, nano))}) {
        RecordingReport report;
        const auto messages = readAll(path, report, 3);
        ASSERT_EQ(messages.size(), 2u) << path;
        EXPECT_EQ(messages[0].kind, RecordedMessage::Ethernet);
        EXPECT_EQ(messages[0].timestamp(), 1700000000123456u) << path;
        EXPECT_EQ(messages[1].timestamp(), 1700000001000001u) << path;
        EXPECT_EQ(messages[1].ethernet.channel, 3);
        EXPECT_EQ(messages[1].ethernet.frame, ethernetFrame);
    }
}

// tshark -r rksignal_socketcan.pcap -T fields -e frame.number -e can.id -e can.len -e can.flags.xtd
//         -e _ws.col.Protocol   (identifiers in decimal)
//   1 291 3 0 CAN      2 419361024 8 1 CAN      3 1110 12 0 CANFD (bit rate switch set)
//   4 1111 16 0 CAN    (16 bytes without the FD flag: tshark keeps it classic, we take it as FD)
//   5 1112 2 0 CAN     (FD flag beside junk: classic for both)
//   6 Remote Transmission Request   7 ERR: Controller problems   8 Malformed Packet
//   9 and 10 claim 8 and 70 bytes that the packets do not hold
TEST(PcapRecording, SocketCanFramesOfClassicAndFdCan)
{
    const std::vector<CapturePacket> packets{
        {1, 0, socketCan(0x123, 3, 0, {0x11, 0x22, 0x33})},
        {2, 0, socketCan(0x98fef100, 8, 0, {1, 2, 3, 4, 5, 6, 7, 8})},
        {3, 0, socketCan(0x456, 12, 0x05, Bytes(12, 0xfd))},
        {4, 0, socketCan(0x457, 16, 0, Bytes(16, 0xee))},
        {5, 0, socketCan(0x458, 2, 0x04, {9, 9}, 0xaa)},
        {6, 0, socketCan(0x40000123, 0, 0, {})},
        {7, 0, socketCan(0x20000004, 8, 0, Bytes(8, 0))},
        {8, 0, Bytes{0, 0, 1, 0x23, 8}},
        {9, 0, socketCan(0x123, 8, 0, {1, 2, 3, 4})},
        {10, 0, socketCan(0x123, 70, 0, Bytes(70, 0))},
    };
    const std::string path = CaptureFile::write(tempPath("socketcan.pcap"), CaptureFile::pcap(227, false, packets));
    OutputCapture output;
    RecordingReport report;
    const auto messages = readAll(path, report, 2);
    ASSERT_EQ(messages.size(), 5u);
    EXPECT_EQ(printed(messages[0].can),
              "timestamp=1970-01-01 00:00:01.000000,channel=2,frameFormat=0,length=3,canId=123,payload=11 22 33");
    EXPECT_EQ(messages[0].can.payload[3], 0);
    EXPECT_EQ(std::tie(messages[1].can.canId, messages[2].can.length), std::make_tuple(0x18fef100u, 12));
    std::vector<uint32_t> formats;
    for (const RecordedMessage& message : messages)
        formats.push_back(message.can.frameFormat);
    EXPECT_EQ(formats, (std::vector<uint32_t>{0, 1, 2, 2, 0}));

    EXPECT_EQ(report.badPackets(), 3u);
    EXPECT_EQ(output.err(), "rksignal: " + path + ": packet 8: bad packet (shorter than the 8-byte SocketCAN header)\n"
                            "rksignal: " + path + ": packet 9: bad packet (payload shorter than its length field)\n"
                            "rksignal: " + path + ": packet 10: bad packet (payload length beyond 64 bytes)\n");
}

// tshark -r rksignal_flexray.pcap -T fields -e frame.number -e flexray.ch -e flexray.fid -e flexray.cc
//         -e flexray.pl -e flexray.nfi -e flexray.eff -e _ws.col.Info
//   1 0 12 5 2 1 0x00 "FRAME: ID 12 CC 5 01 02 03 04"    2 1 300 63 1 1 0x00 "FRAME: ID 300 CC 63 05 06"
//   3 "FRAME: ID 12 CC 6 NF" (null frame)    4 "SYMB: SL 10"    5 eff 0x10 "Error Flag is set"
//   6 "Frame Payload is malformed" (4 words announced, 2 bytes present)
// tshark -r rksignal_lin.pcap -T fields -e frame.number -e lin.message_type -e lin.frame_id -e lin.length
//         -e lin.errors -e data.data -e _ws.col.Info
//   1 0 0x21 2 0x00 0300 "LIN Frame"    2 3 "LIN Event: Go-to-Sleep event by Go-to-Sleep frame"
//   3 0 0x21 2 0x08 0300 (checksum error)    4 0 0x21 9 (tshark shows 9 bytes; a LIN frame holds 8)
TEST(PcapRecording, FlexRayAndLinFrames)
{
    std::vector<bool> staticSlots(2048, false);
    staticSlots[12] = true;
    const std::vector<CapturePacket> flexRayPackets{
        {1, 0, flexRay(false, 0, false, 12, 2, 5, {1, 2, 3, 4})},
        {2, 0, flexRay(true, 0, false, 300, 1, 63, {5, 6})},
        {3, 0, flexRay(false, 0, true, 12, 0, 6, {})},
        {4, 0, Bytes{0x02, 10}},
        {5, 0, flexRay(false, 0x10, false, 12, 1, 7, {0, 0})},
        {6, 0, flexRay(false, 0, false, 12, 4, 8, {0, 0})},
    };
    const std::string flexRayPath =
        CaptureFile::write(tempPath("flexray.pcap"), CaptureFile::pcap(210, false, flexRayPackets));
    OutputCapture output;
    RecordingReport report;
    auto messages = readAll(flexRayPath, report, 4, staticSlots);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(printed(messages[0].flexRay), "timestamp=1970-01-01 00:00:01.000000,frameKind=16,channel=4,"
                                            "data=01 02 03 04,slot=12,cycle=5,payload=01 02 03 04");
    // Slot 300 is in no static position; channel B goes to the capture's channel too.
    EXPECT_EQ(printed(messages[1].flexRay), "timestamp=1970-01-01 00:00:02.000000,frameKind=17,channel=4,"
                                            "data=05 06,slot=300,cycle=63,payload=05 06");
    EXPECT_EQ(report.badPackets(), 1u);

    const std::vector<CapturePacket> linPackets{
        {1, 0, lin(2, 0, 0x61, 0, {3, 0})},
        {2, 0, lin(4, 3, 0, 0, {0xb0, 0xb0, 0, 1})},
        {3, 0, lin(2, 0, 0x61, 0x08, {3, 0})},
        {4, 0, lin(9, 0, 0x61, 0, Bytes(9, 0))},
    };
    const std::string linPath = CaptureFile::write(tempPath("lin.pcap"), CaptureFile::pcap(212, false, linPackets));
    messages = readAll(linPath, report);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(printed(messages[0].lin), "timestamp=1970-01-01 00:00:01.000000,data=03 00,channel=1,protectedId=61");
    EXPECT_EQ(output.err(),
              "rksignal: " + flexRayPath + ": packet 6: bad packet (payload shorter than its length field)\n"
              "rksignal: " + linPath + ": packet 4: bad packet (payload length beyond 8 bytes)\n");
}

// tshark shows rksignal_cooked.pcap as SLL and says rksignal_truncated.pcap and rksignal_truncated.pcapng
// "appear to have been cut short in the middle of a packet".
TEST(PcapRecording, OtherLinkTypesAndTruncatedCaptures)
{
    OutputCapture output;
    RecordingReport report;
    const std::string cooked =
        CaptureFile::write(tempPath("cooked.pcap"), CaptureFile::pcap(113, false, {{1, 0, Bytes(20, 0)}}));
    EXPECT_TRUE(readAll(cooked, report).empty());
    EXPECT_FALSE(report.failed());
    EXPECT_EQ(output.err(), "rksignal: " + cooked + ": warning: link type 113 (LINUX_SLL) is not decoded (Ethernet, "
                                                    "SocketCAN, FlexRay and LIN are); the capture is skipped\n");

    output.reset();
    std::string bytes = CaptureFile::pcap(1, false, {{1, 0, ethernetFrame}, {2, 0, ethernetFrame}, {3, 0, ethernetFrame}});
    bytes.resize(bytes.size() - 10);
    const std::string truncated = CaptureFile::write(tempPath("truncated.pcap"), bytes);
    EXPECT_EQ(readAll(truncated, report).size(), 2u);
    EXPECT_TRUE(report.failed());
    EXPECT_EQ(output.err(), "rksignal: " + truncated +
                                ": truncated dump file; tried to read 60 captured bytes, only got 50 (after 2 packets)\n");

    output.reset();
    bytes = CaptureFile::pcapng({1}, {{1, 0, ethernetFrame}, {2, 0, ethernetFrame}});
    bytes.resize(bytes.size() - 10);
    const std::string cut = CaptureFile::write(tempPath("truncated.pcapng"), bytes);
    EXPECT_EQ(readAll(cut, report).size(), 1u);
    EXPECT_EQ(output.err(), "rksignal: " + cut + ": truncated pcapng block: the file ends inside it (block 4) "
                                                 "(after 1 packets)\n");

    PcapRecording notCapture(CaptureFile::write(tempPath("text.pcap"), "(1.0) can0 123#00\n"), 1, {}, report);
    EXPECT_FALSE(notCapture.isOpen());
    EXPECT_EQ(notCapture.openError(), "unknown file format");
}

// tshark -r rksignal_multibus.pcapng -T fields -e frame.interface_id -e frame.encap_type -e _ws.col.Info
//   0 125 "ID: 291 (0x123), Length: 2"    1 1 "Ethernet II"    2 107 "LIN Frame"    3 106 "FRAME: ID 12 CC 5 07 08"
//   4 25 (SLL)    then "interface index 7 is not less than section interface count 5": tshark stops there,
//   we report that packet and read on.
TEST(PcapRecording, InterfacesOfAPcapngCaptureAreChannelsOfTheirOwn)
{
    const std::vector<CapturePacket> packets{
        {1, 0, socketCan(0x123, 2, 0, {1, 2}), 0},
        {2, 0, ethernetFrame, 1},
        {3, 0, lin(2, 0, 0x61, 0, {3, 0}), 2},
        {4, 0, flexRay(false, 0, false, 12, 1, 5, {7, 8}), 3},
        {5, 0, Bytes(20, 0), 4},
        {6, 0, socketCan(0x124, 1, 0, {9}), 7},
        {7, 500, socketCan(0x125, 1, 0, {9}), 0},
    };
    const std::string path = CaptureFile::write(tempPath("multibus.pcapng"),
                                                CaptureFile::pcapng({227, 1, 212, 210, 113}, packets));
    OutputCapture output;
    RecordingReport report;
    const auto messages = readAll(path, report, 3, {}, {{2, 9}});
    ASSERT_EQ(messages.size(), 5u);
    EXPECT_EQ(printed(messages[0].can),
              "timestamp=1970-01-01 00:00:01.000000,channel=3,frameFormat=0,length=2,canId=123,payload=01 02");
    EXPECT_EQ(std::make_tuple(messages[1].kind, messages[1].ethernet.channel, messages[1].ethernet.frame.size()),
              std::make_tuple(RecordedMessage::Ethernet, uint8_t(4), ethernetFrame.size()));
    EXPECT_EQ(printed(messages[2].lin), "timestamp=1970-01-01 00:00:03.000000,data=03 00,channel=9,protectedId=61");
    EXPECT_EQ(std::make_tuple(messages[3].kind, messages[3].flexRay.channel), std::make_tuple(RecordedMessage::FlexRay, uint8_t(6)));
    EXPECT_EQ(std::make_tuple(messages[4].can.canId, messages[4].timestamp()), std::make_tuple(0x125u, 7000000u));
    EXPECT_EQ(output.err(), "rksignal: " + path + ": warning: interface 4: link type 113 (LINUX_SLL) is not decoded "
                                                  "(Ethernet, SocketCAN, FlexRay and LIN are); its packets are skipped\n"
                            "rksignal: " + path + ": packet 6: bad packet (packet of an interface that the capture does "
                                                  "not describe)\n");
}

// tshark -r rksignal_hostorder.pcap -o can.byte_swap:TRUE -T fields -e can.id -e can.flags.xtd
//   298 0    419361024 1 (0x18fef100)    291 0
// tshark -r rksignal_trailers.pcap -T fields -e udp.length -e data.len -e eth.trailer -e eth.padding
//   26 18 ee..ee (14 bytes; it takes the last 4 for a frame check sequence)    (TCP) padding 00..00    12 4
TEST(PcapRecording, HostOrderCanIdentifiersAndEthernetTrailers)
{
    const std::vector<CapturePacket> packets{
        {1, 0, socketCan(0x12a, 1, 0, {1}, 0, true)},
        {2, 0, socketCan(0x98fef100, 1, 0, {2}, 0, true)},
        {3, 0, socketCan(0x123, 1, 0, {3}, 0, true)},
    };
    const std::string path = CaptureFile::write(tempPath("hostorder.pcap"), CaptureFile::pcap(227, false, packets));
    OutputCapture output;
    RecordingReport report;
    auto messages = readAll(path, report);
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(std::make_tuple(messages[0].can.canId, messages[1].can.canId, messages[1].can.frameFormat,
                              messages[2].can.canId),
              std::make_tuple(0x12au, 0x18fef100u, 1u, 0x123u));
    EXPECT_EQ(output.err(), "rksignal: " + path + ": warning: the SocketCAN identifiers of this capture are in "
                                                  "little-endian host byte order, as older capture tools wrote them; "
                                                  "they are read so\n");

    std::vector<uint8_t> trailed = FrameBuilder().ethernet(2, 1).ipv4(17, 1, 2).udp(1, 2).fill(18, 0x55).build();
    trailed.insert(trailed.end(), 18, 0xee);
    std::vector<uint8_t> shortTcp = FrameBuilder().ethernet(2, 1).tag(0x8100, 3).ipv4(6, 1, 2).tcp(1, 2).build();
    const size_t tcpLength = shortTcp.size();
    shortTcp.resize(60, 0);
    std::vector<uint8_t> lying = FrameBuilder().ethernet(2, 1).ipv4(17, 1, 2).udp(1, 2).fill(4).build();
    lying[17] = 200; // an IP total length beyond the frame is not trusted
    const std::string ethernet = CaptureFile::write(
        tempPath("trailers.pcap"), CaptureFile::pcap(1, false, {{1, 0, trailed}, {2, 0, shortTcp}, {3, 0, lying}}));
    messages = readAll(ethernet, report);
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[0].ethernet.frame, std::vector<uint8_t>(trailed.begin(), trailed.end() - 18));
    EXPECT_EQ(messages[1].ethernet.frame.size(), tcpLength);
    EXPECT_EQ(messages[2].ethernet.frame, lying);
}
