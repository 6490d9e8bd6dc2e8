// The logging tools' formats where python-can cannot be the reference:
// compressed files of every kind, BLF objects of LIN, Ethernet and FlexRay,
// containers that split objects, the ASC and TRC variants it does not read.
#include "recordings/BlfReader.h"
#include "recordings/BlfWriter.h"
#include "recordings/CandumpReader.h"
#include "recordings/RecordingFormats.h"
#include "recordings/TrcReader.h"
#include "recordings/AscReader.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <zlib.h>

#include <fstream>
#include <sstream>

using namespace rksignal;

namespace {

std::string tempPath(const std::string& name)
{
    return testing::TempDir() + "/" + std::to_string(getpid()) + "-" + name;
}

void writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string gzipped(const std::string& text)
{
    const std::string path = tempPath("gz-source");
    writeFile(path, text);
    gzFile file = gzopen((path + ".gz").c_str(), "wb");
    gzwrite(file, text.data(), unsigned(text.size()));
    gzclose(file);
    std::ifstream in(path + ".gz", std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

struct Opened {
    std::ostringstream messages;
    RecordingReport report;
    std::vector<bool> slots = std::vector<bool>(2048, false);
    CandumpReader candump;
    std::map<uint32_t, uint8_t> interfaceChannels;
    std::unique_ptr<RecordingReader> reader;
    std::string error;

    explicit Opened(const std::string& path, uint8_t channel = 1) : report(messages)
    {
        reader = RecordingFormats::open(path, RecordingSetup{report, channel, slots, candump, interfaceChannels}, error);
    }
};

} // namespace

TEST(CompressedRecordings, InnerFormatByContentOrNameUnknownIsAnErrorBadDataIsReported)
{
    const std::string candump = "(1.000001) can0 123#11\n(2.5) can0 12345678#2233\n";
    // A compressed candump log is known by its first line; member after member.
    const std::string twoMembers = gzipped("(1.000001) can0 123#11\n") + gzipped("(2.5) can0 12345678#2233\n");
    writeFile(tempPath("a.log.gz"), twoMembers);
    Opened a(tempPath("a.log.gz"));
    ASSERT_TRUE(a.reader) << a.error;
    ASSERT_TRUE(a.reader->next());
    EXPECT_EQ(a.reader->message().can.timestamp, 1000001u);
    ASSERT_TRUE(a.reader->next());
    EXPECT_EQ(a.reader->message().can.canId, 0x12345678u);
    EXPECT_FALSE(a.reader->next());

    // A capture, which libpcap reads from a file, is decompressed for it.
    std::ifstream pcap(RKSIGNAL_EXAMPLES_DIR "/drive.pcap", std::ios::binary);
    writeFile(tempPath("drive.pcap.gz"), gzipped(std::string(std::istreambuf_iterator<char>(pcap), {})));
    Opened plain(RKSIGNAL_EXAMPLES_DIR "/drive.pcap"), packed(tempPath("drive.pcap.gz"));
    ASSERT_TRUE(packed.reader) << packed.error;
    int plainMessages = 0, packedMessages = 0;
    while (plain.reader->next())
        ++plainMessages;
    while (packed.reader->next())
        ++packedMessages;
    EXPECT_GT(plainMessages, 10);
    EXPECT_EQ(packedMessages, plainMessages);

    // Neither contents nor name: an error, not a candump log of junk.
    writeFile(tempPath("b.gz"), gzipped(std::string("\x01\x02junk", 6)));
    Opened b(tempPath("b.gz"));
    EXPECT_FALSE(b.reader);
    EXPECT_EQ(b.error.rfind("gzip compressed file of unknown format", 0), 0u) << b.error;

    // A cut-off stream: the frames before the cut, then an error of the run.
    const std::string whole = gzipped(candump + std::string(4000, '\n'));
    writeFile(tempPath("c.log.gz"), whole.substr(0, whole.size() - 12));
    Opened c(tempPath("c.log.gz"));
    ASSERT_TRUE(c.reader) << c.error;
    int frames = 0;
    while (c.reader->next())
        ++frames;
    EXPECT_EQ(frames, 2);
    EXPECT_TRUE(c.report.failed());
    EXPECT_NE(c.messages.str().find("truncated"), std::string::npos) << c.messages.str();
}

TEST(BlfRecording, EveryKindRoundTripsThroughSplitContainersWithChannelOffset)
{
    const std::string path = tempPath("kinds.blf");
    {
        BlfWriter writer(std::fopen(path.c_str(), "wb"));
        RecordedMessage message;
        // Enough CAN FD frames that objects straddle the 128 KiB containers.
        message.kind = RecordedMessage::Can;
        message.can.frameFormat = 3;
        message.can.length = 64;
        for (uint32_t i = 0; i < 3000; ++i) {
            message.can.timestamp = 1700000000123000u + i;
            message.can.canId = i;
            message.can.channel = 1 + i % 2;
            message.can.payload[0] = uint8_t(i);
            ASSERT_TRUE(writer.write(message));
        }
        message.kind = RecordedMessage::Lin;
        message.lin = {1700000001000000u, {1, 2, 3}, 2, 0x2a};
        ASSERT_TRUE(writer.write(message));
        message.kind = RecordedMessage::Ethernet;
        message.ethernet = {1700000001000001u, std::vector<uint8_t>(60, 0xee), 3};
        ASSERT_TRUE(writer.write(message));
        message.kind = RecordedMessage::FlexRay;
        message.flexRay = {1700000001000002u, 17, 1, {9, 8}, 77, 5, {9, 8}};
        ASSERT_TRUE(writer.write(message));
        std::string error;
        ASSERT_TRUE(writer.finish(error)) << error;
    }
    RecordingReport report;
    BlfReader reader(path, 3, report); // object channel c becomes c + 2
    ASSERT_TRUE(reader.isOpen()) << reader.openError();
    for (uint32_t i = 0; i < 3000; ++i) {
        ASSERT_TRUE(reader.next()) << i;
        const CANExtTraceMessage& can = reader.message().can;
        ASSERT_EQ(can.canId, i);
        ASSERT_EQ(can.timestamp, 1700000000123000u + i);
        ASSERT_EQ(can.channel, 3 + i % 2);
        ASSERT_EQ(can.frameFormat, 3u);
        ASSERT_EQ(can.payload[0], uint8_t(i));
    }
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.message().kind, RecordedMessage::Lin);
    EXPECT_EQ(reader.message().lin.data, (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_EQ(reader.message().lin.protectedId & 0x3f, 0x2a);
    EXPECT_EQ(reader.message().lin.channel, 4);
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.message().kind, RecordedMessage::Ethernet);
    EXPECT_EQ(reader.message().ethernet.frame, std::vector<uint8_t>(60, 0xee));
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.message().kind, RecordedMessage::FlexRay);
    const FlexRayExtTraceMessage& flexRay = reader.message().flexRay;
    EXPECT_EQ(flexRay.frameKind, 17);
    EXPECT_EQ(flexRay.slot, 77);
    EXPECT_EQ(flexRay.cycle, 5);
    EXPECT_EQ(flexRay.payload, (std::vector<uint8_t>{9, 8}));
    EXPECT_EQ(flexRay.timestamp, 1700000001000002u);
    EXPECT_FALSE(reader.next());
    EXPECT_EQ(report.badPackets(), 0u);
    EXPECT_FALSE(report.failed());
}

TEST(BlfRecording, DamageIsReportedNeverReadPast)
{
    const std::string path = tempPath("cut.blf");
    {
        BlfWriter writer(std::fopen(path.c_str(), "wb"));
        RecordedMessage message;
        message.can.length = 8;
        for (uint64_t t = 1; t <= 3; ++t) {
            message.can.timestamp = 1700000000000000u + t;
            writer.write(message);
        }
        std::string error;
        ASSERT_TRUE(writer.finish(error));
    }
    std::ifstream in(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(in), {});
    writeFile(path, bytes.substr(0, bytes.size() - 10));
    std::ostringstream messages;
    RecordingReport report(messages);
    BlfReader reader(path, 1, report);
    ASSERT_TRUE(reader.isOpen());
    EXPECT_FALSE(reader.next()); // the one container is cut
    EXPECT_TRUE(report.failed());

    writeFile(path, "LOGG\x08");
    BlfReader header(path, 1, report);
    EXPECT_FALSE(header.isOpen());
}

TEST(BlfRecording, ObjectOutsideContainersInTenMicrosecondUnits)
{
    std::string file(144, '\0');
    file.replace(0, 5, "LOGG\x90"); // header of 144 bytes
    const uint16_t start[8] = {2020, 1, 4, 2, 3, 4, 5, 678};
    for (int i = 0; i < 8; ++i)
        file.replace(size_t(40 + 2 * i), 2, std::string{char(start[i] & 0xff), char(start[i] >> 8)});
    // LOBJ, header 32 bytes version 1, object 48 bytes, CAN_MESSAGE; flags 1
    // (10 µs), time 12345; channel 2, data length 2, extended 0x123.
    file += std::string("LOBJ\x20\0\x01\0\x30\0\0\0\x01\0\0\0\x01\0\0\0\0\0\0\0\x39\x30\0\0\0\0\0\0", 32);
    file += std::string("\x02\0\0\x02\x23\x01\0\x80\xab\xcd\0\0\0\0\0\0", 16);
    const std::string path = tempPath("outside.blf");
    writeFile(path, file);
    RecordingReport report;
    BlfReader reader(path, 1, report);
    ASSERT_TRUE(reader.next());
    const CANExtTraceMessage& can = reader.message().can;
    EXPECT_EQ(can.timestamp, 1577934245678000u + 123450u); // 2020-01-02 03:04:05.678 UTC
    EXPECT_EQ(can.channel, 2);
    EXPECT_EQ(can.canId, 0x123u);
    EXPECT_EQ(can.frameFormat, 1u);
    EXPECT_EQ(can.length, 2);
    EXPECT_EQ(can.payload[1], 0xcd);
    EXPECT_FALSE(reader.next());
}

TEST(TextLogs, AscVariantsAndTrcColumnsThatPythonCanDoesNotRead)
{
    const auto frames = [](LineParser& parser, const std::vector<std::string>& lines) {
        std::vector<CANExtTraceMessage> out;
        RecordedMessage message;
        for (const std::string& line : lines) {
            const char* reason = "";
            if (parser.parseLine(line, message, reason) == LineParser::Message)
                out.push_back(message.can);
        }
        return out;
    };
    AscReader asc(2);
    const auto ascFrames = frames(asc, {"date Mi Okt 11 11:00:00.500 2023", "base dec  timestamps relative",
                                        "1.0 1 291 Rx d 2 255 16", "0.5 2 291x Tx d 1 7",
                                        "0.25 1 291 Rx r 8", "0.25 CANFD 1 Rx 17 Name 1 1 9 12 1 2 3 4 5 6 7 8 9 10 11 12"});
    ASSERT_EQ(ascFrames.size(), 3u);
    const uint64_t date = 1697022000500000u; // 2023-10-11 11:00:00.500 UTC
    EXPECT_EQ(ascFrames[0].timestamp, date + 1000000u);
    EXPECT_EQ(ascFrames[0].canId, 291u);
    EXPECT_EQ(ascFrames[0].payload[0], 255);
    EXPECT_EQ(ascFrames[0].channel, 2);
    EXPECT_EQ(ascFrames[1].timestamp, date + 1500000u);
    EXPECT_EQ(ascFrames[1].frameFormat, 1u);
    EXPECT_EQ(ascFrames[1].channel, 3);
    EXPECT_EQ(ascFrames[2].timestamp, date + 2000000u); // after the remote frame's 0.25
    EXPECT_EQ(ascFrames[2].frameFormat, 2u);
    EXPECT_EQ(ascFrames[2].length, 12);
    EXPECT_EQ(asc.skipped().remote, 1u);

    TrcReader trc;
    const auto trcFrames = frames(trc, {";$FILEVERSION=2.0", ";$STARTTIME=45000.5", ";$COLUMNS=N,O,T,I,d,l,D",
                                        "1 10.250 FB 00000100 Rx 12 1 2 3 4 5 6 7 8 9 A B C",
                                        "2 11.000 ER 0100 Rx 0", "3 12.000 ST Rx 00 00 00 08"});
    ASSERT_EQ(trcFrames.size(), 1u);
    EXPECT_EQ(trcFrames[0].timestamp, (45000u - 25569u) * 86400000000u + 43200000000u + 10250u);
    EXPECT_EQ(trcFrames[0].frameFormat, 3u);
    EXPECT_EQ(trcFrames[0].length, 12);
    EXPECT_EQ(trcFrames[0].payload[11], 0x0c);
    EXPECT_EQ(trc.skipped().error, 1u);

    TrcReader v13;
    const auto v13Frames = frames(v13, {";$FILEVERSION=1.3", "1) 5.5 2 Rx 0123 - 2 AA BB", "2) 6.0 1 Error 0000 - 0"});
    ASSERT_EQ(v13Frames.size(), 1u);
    EXPECT_EQ(v13Frames[0].channel, 2);
    EXPECT_EQ(v13Frames[0].timestamp, 5500u);
    EXPECT_EQ(v13Frames[0].payload[1], 0xbb);
}
