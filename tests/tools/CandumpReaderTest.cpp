// candump log lines: classic, FD, extended, remote and bad lines.
#include "tools/CandumpReader.h"

#include <gtest/gtest.h>

#include <string>

TEST(CandumpReader, ClassicFdAndExtendedFrames)
{
    CandumpReader reader;
    reader.mapInterface("can1", 7);
    CANExtTraceMessage frame;
    const char* reason = nullptr;

    ASSERT_EQ(reader.parseLine("(1436509052.249713) vcan0 044#2A366C2BBA", frame, reason), CandumpReader::Frame);
    EXPECT_EQ(frame.timestamp, 1436509052249713u);
    EXPECT_EQ(frame.channel, 1); // first interface seen, 1 being free
    EXPECT_EQ(frame.frameFormat, 0u);
    EXPECT_EQ(frame.canId, 0x44u);
    EXPECT_EQ(frame.length, 5);
    EXPECT_EQ(frame.payload[4], 0xba);
    EXPECT_EQ(frame.payload[5], 0);

    ASSERT_EQ(reader.parseLine("(1.5) can1 18FEF100#", frame, reason), CandumpReader::Frame);
    EXPECT_EQ(frame.timestamp, 1500000u);
    EXPECT_EQ(frame.channel, 7);
    EXPECT_EQ(frame.frameFormat, 1u);
    EXPECT_EQ(frame.canId, 0x18fef100u);
    EXPECT_EQ(frame.length, 0);

    const std::string fd = "(2.000001) vcan2 123##1" + std::string(128, 'e');
    ASSERT_EQ(reader.parseLine(fd, frame, reason), CandumpReader::Frame);
    EXPECT_EQ(frame.frameFormat, 2u);
    EXPECT_EQ(frame.length, 64);
    EXPECT_EQ(frame.payload[63], 0xee);
    EXPECT_EQ(frame.channel, 2);

    ASSERT_EQ(reader.parseLine("(3.0) vcan0 1FFFFFFF##011223", frame, reason), CandumpReader::Bad);
    ASSERT_EQ(reader.parseLine("(3.0) vcan0 1FFFFFFF##011.22.33", frame, reason), CandumpReader::Frame);
    EXPECT_EQ(frame.frameFormat, 3u);
    EXPECT_EQ(frame.length, 3);
}

TEST(CandumpReader, SkipsRemoteAndErrorFramesAndReportsBadLines)
{
    CandumpReader reader;
    CANExtTraceMessage frame;
    const char* reason = nullptr;
    EXPECT_EQ(reader.parseLine("(1.0) can0 123#R", frame, reason), CandumpReader::Skipped);
    EXPECT_EQ(reader.parseLine("(1.0) can0 123#R4", frame, reason), CandumpReader::Skipped);
    EXPECT_EQ(reader.parseLine("(1.0) can0 20000080#0000000000000000", frame, reason), CandumpReader::Skipped);

    for (const char* line : {"", "garbage", "(1.0)", "(1.0) can0", "(1.0) can0 12#00", "(1.0) can0 800#00",
                             "(1.0) can0 123#0", "(1.0) can0 123#zz", "(1.0) can0 123#001122334455667788",
                             "(1.0) can0 123##", "(x.0) can0 123#00", "(99999999999999999.0) can0 123#00"}) {
        reason = nullptr;
        EXPECT_EQ(reader.parseLine(line, frame, reason), CandumpReader::Bad) << line;
        EXPECT_NE(reason, nullptr) << line;
    }
}
