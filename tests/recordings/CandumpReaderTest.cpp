// candump log lines: classic, FD, extended, remote and bad lines.
#include "recordings/CandumpReader.h"

#include "support/Printed.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

using namespace rksignal;

TEST(CandumpReader, ClassicFdExtendedSkippedAndBadLines)
{
    CandumpReader reader;
    reader.mapInterface("can1", 7);
    CANExtTraceMessage frame;
    const char* reason = nullptr;

    // Channels: the first interface seen gets 1, being free; can1 is mapped.
    ASSERT_EQ(reader.parseLine("(1436509052.249713) vcan0 044#2A366C2BBA", frame, reason), CandumpReader::Frame);
    EXPECT_EQ(printed(frame), "timestamp=2015-07-10 06:17:32.249713,channel=1,frameFormat=0,length=5,canId=44,"
                              "payload=2a 36 6c 2b ba");
    EXPECT_EQ(frame.payload[5], 0);
    ASSERT_EQ(reader.parseLine("(1.5) can1 18FEF100#", frame, reason), CandumpReader::Frame);
    EXPECT_EQ(printed(frame), "timestamp=1970-01-01 00:00:01.500000,channel=7,frameFormat=1,length=0,canId=18fef100,"
                              "payload=");

    ASSERT_EQ(reader.parseLine("(2.000001) vcan2 123##1" + std::string(128, 'e'), frame, reason), CandumpReader::Frame);
    EXPECT_EQ(std::tie(frame.frameFormat, frame.length, frame.payload[63], frame.channel),
              std::make_tuple(2, 64, 0xee, 2));
    ASSERT_EQ(reader.parseLine("(3.0) vcan0 1FFFFFFF##011223", frame, reason), CandumpReader::Bad);
    ASSERT_EQ(reader.parseLine("(3.0) vcan0 1FFFFFFF##011.22.33", frame, reason), CandumpReader::Frame);
    EXPECT_EQ(std::tie(frame.frameFormat, frame.length), std::make_tuple(3, 3));

    // Remote and error frames are skipped; bad lines say why.
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
    reader.parseLine("garbage", frame, reason);
    EXPECT_STREQ(reason, "expected a time stamp \"(<seconds>.<microseconds>)\"");
}
