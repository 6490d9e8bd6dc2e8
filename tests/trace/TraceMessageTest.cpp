// The CAN message's print form: one line, every field, no reading past the
// valid bytes. The other kinds' forms are compared whole in the tool's reader
// tests, which check the fields they parse through them.
#include "trace/CANExtTraceMessage.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(TraceMessage, PrintForms)
{
    CANExtTraceMessage can;
    can.timestamp = 1000001;
    can.channel = 3;
    can.frameFormat = 1;
    can.length = 3;
    can.canId = 0x18fef100;
    can.payload[0] = 0xde;
    can.payload[1] = 0xad;
    can.payload[2] = 0x01;
    can.payload[3] = 0xff; // beyond length: not printed
    std::ostringstream line;
    line << can << ' ' << 10;
    EXPECT_EQ(line.str(), "timestamp=1970-01-01 00:00:01.000001,channel=3,frameFormat=1,length=3,canId=18fef100,"
                          "payload=de ad 01 10"); // flags restored after the hex id

    can.length = 200; // a corrupt length prints the 64 bytes there are
    std::ostringstream corrupt;
    corrupt << can;
    const std::string text = corrupt.str();
    const std::string payload = text.substr(text.find("payload=") + 8);
    EXPECT_EQ(payload.size(), 64u * 3 - 1);
}
