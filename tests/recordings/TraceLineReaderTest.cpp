// Trace lines: the fields of every kind, and the reason given for bad lines.
#include "recordings/TraceLineReader.h"

#include "support/Printed.h"

#include <gtest/gtest.h>

#include <utility>

using namespace rksignal;

namespace {

RecordedMessage parsed(TraceLineReader& reader, const char* line)
{
    RecordedMessage message;
    const char* reason = "";
    EXPECT_EQ(reader.parseLine(line, message, reason), LineParser::Message) << line << ": " << reason;
    return message;
}

} // namespace

// Every kind in its usual form is decoded in the example recordings' test;
// here the fields one by one and the optional and alternative forms.
TEST(TraceLineReader, FieldsAndTheOptionalAndAlternativeForms)
{
    TraceLineReader reader;
    RecordedMessage m = parsed(reader, "(12.5) LIN 2 c5 0102");
    EXPECT_EQ(m.kind, RecordedMessage::Lin);
    EXPECT_EQ(printed(m.lin), "timestamp=1970-01-01 00:00:12.500000,data=01 02,channel=2,protectedId=c5");
    EXPECT_TRUE(parsed(reader, "(12.5) LIN 2 05").lin.data.empty());

    m = parsed(reader, "(1.000001) FLEXRAY 1 12 5 dynamic 00.01.02.03");
    EXPECT_EQ(printed(m.flexRay), "timestamp=1970-01-01 00:00:01.000001,frameKind=17,channel=1,data=00 01 02 03,"
                                  "slot=12,cycle=5,payload=00 01 02 03");

    m = parsed(reader, "(2.0) GPIO 1 3 0008");
    EXPECT_EQ(m.inputModule, 1);
    EXPECT_EQ(printed(m.gpio), "timestamp=1970-01-01 00:00:02.000000,elements=[input=3,value=8,mask=ffff]");
    EXPECT_EQ(parsed(reader, "(2.0) GPIO 1 3 00f8 000F").gpio.elements.at(0).mask, 0xf);

    // Readings keep their decimal digits: mantissa and power of ten.
    for (const auto& [text, mantissa, exponent] :
         {std::tuple{"-3", -3, 0}, std::tuple{"1250e-2", 1250, -2}, std::tuple{"+0.5E3", 5, 2}}) {
        m = parsed(reader, (std::string("(3.0) ANALOG 4 2 ") + text).c_str());
        EXPECT_EQ(m.inputModule, 4);
        EXPECT_EQ(printed(m.analog.elements.at(0)), "input=2,mantissa=" + std::to_string(mantissa) +
                                                        ",exponent=" + std::to_string(exponent)) << text;
    }

    EXPECT_EQ(printed(parsed(reader, "(4.0) KEY 16 -1").keyboard),
              "timestamp=1970-01-01 00:00:04.000000,keyCode=16,value=-1");
    EXPECT_EQ(printed(parsed(reader, "(5.0) SYSTEM 99").system), "timestamp=1970-01-01 00:00:05.000000,code=99,text=");
    m = parsed(reader, "(6.0) USAGE 40 255 70");
    EXPECT_EQ(m.kind, RecordedMessage::SystemUsage);
    EXPECT_EQ(printed(m.usage), "timestamp=1970-01-01 00:00:06.000000,code=2,text=,internalUsage=40,"
                                "externalUsage=255,externalUsage2=70");

    const char* reason = "";
    EXPECT_EQ(reader.parseLine("  # a comment", m, reason), LineParser::Skipped);
    EXPECT_EQ(reader.parseLine("  ", m, reason), LineParser::Skipped);
}

TEST(TraceLineReader, BadLinesSayWhatIsWrong)
{
    const std::pair<const char*, const char*> cases[] = {
        {"LIN 1 21 00", "expected a time stamp \"(<seconds>.<microseconds>)\""},
        {"(1.0) CAN 1 21", "expected LIN, FLEXRAY, GPIO, ANALOG, KEY, SYSTEM or USAGE after the time stamp"},
        {"(1.0) LIN 256 21 00", "expected a channel 0..255"},
        {"(1.0) LIN 1 121 00", "expected a hexadecimal LIN identifier 00..ff"},
        {"(1.0) LIN 1 21 001122334455667788", "expected up to 8 hexadecimal data bytes"},
        {"(1.0) FLEXRAY 1 0 0 static", "expected a slot 1..2047"},
        {"(1.0) FLEXRAY 1 12 64 static", "expected a cycle 0..63"},
        {"(1.0) FLEXRAY 1 12 1 both 00", "expected the segment, static or dynamic"},
        {"(1.0) GPIO 1 70000 1", "expected an input number 0..65535"},
        {"(1.0) GPIO 1 3 10000", "expected a hexadecimal value 0..ffff"},
        {"(1.0) ANALOG 1 2 3000000000", "expected a reading such as 12.5, -3 or 1250e-2 (mantissa within 32 bits)"},
        {"(1.0) KEY one 1", "expected a key code (32-bit integer)"},
        {"(1.0) SYSTEM -1", "expected a message code 0..4294967295"},
        {"(1.0) USAGE 40 255", "expected three usage values 0..255 (internal, external, second external)"},
        {"(1.0) LIN 1 21 00 extra", "unexpected text after the fields"},
    };
    TraceLineReader reader;
    for (const auto& [line, expected] : cases) {
        RecordedMessage message;
        const char* reason = "";
        EXPECT_EQ(reader.parseLine(line, message, reason), LineParser::Bad) << line;
        EXPECT_STREQ(reason, expected) << line;
    }
}
