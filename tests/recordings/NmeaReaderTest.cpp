// NMEA logs: the sentences of one fix in one GPS message, and its time stamp.
#include "recordings/LineRecording.h"
#include "recordings/NmeaReader.h"

#include "support/OutputCapture.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace rksignal;

namespace {

const std::string rmc1 = "$GPRMC,123519.50,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*41";
const std::string gga1 = "$GPGGA,123519.50,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*6C";
const std::string rmc2 = "$GPRMC,123520.50,A,4807.040,N,01131.010,E,022.6,084.4,230394,003.1,W*47";
const std::string gga3 = "$GNGGA,123521.00,4807.042,N,01131.020,E,1,09,0.9,545.6,M,46.9,M,,*70";

} // namespace

TEST(NmeaReader, RmcAndGgaOfOneFixMakeOneMessage)
{
    const std::string path = testing::TempDir() + "rksignal_fixes.nmea";
    std::ofstream(path) << "$GPGSV,3,1,11,03,03,111,00,04,15,270,00,06,01,010,00,13,06,292,00*74\r\n"
                        << "(1700000000.250000) " << rmc1 << "\r\n"
                        << gga1 << "\r\n\r\n"
                        << rmc2 << "\n"
                        << "$GPRMC,123521.00,A,4807.042,N,01131.020,E,022.6,084.4,230394,003.1,W*00\n"
                        << "(1.0) GPGGA,123521.00\n"
                        << gga3 << "\n"
                        << "\x1b]0;title\x07\x1b[2J\xff\xc2\x9b caf\xc3\xa9 C:\\log\n";
    OutputCapture output;
    RecordingReport report;
    LineRecording recording(path, std::make_unique<NmeaReader>(), report);
    std::vector<GPSTraceMessage> fixes;
    while (recording.next()) {
        EXPECT_EQ(recording.message().kind, RecordedMessage::Gps);
        fixes.push_back(recording.message().gps);
    }
    ASSERT_EQ(fixes.size(), 3u);
    EXPECT_EQ(fixes[0].nmea, rmc1 + "\r\n" + gga1);
    EXPECT_EQ(fixes[0].timestamp, 1700000000250000u); // the prefix

    // Without a prefix: the fix's UTC date and time; 1994-03-23 12:35:20.5.
    EXPECT_EQ(fixes[1].nmea, rmc2);
    EXPECT_EQ(fixes[1].timestamp, 764426120500000u);
    // A GGA alone: the date of the last RMC.
    EXPECT_EQ(fixes[2].nmea, gga3);
    EXPECT_EQ(fixes[2].timestamp, 764426121000000u);

    EXPECT_EQ(report.badLines(), 3u);
    // Escape sequences, a C1 control and bytes that are not UTF-8 must not reach the terminal.
    EXPECT_NE(output.err().find(":9: bad line (expected an NMEA sentence such as $GPRMC,...): "
                                "\\x1b]0;title\\x07\\x1b[2J\\xff\\xc2\\x9b caf\xc3\xa9 C:\\\\log\n"),
              std::string::npos)
        << output.err();
    EXPECT_NE(output.err().find(path + ":6: bad line (RMC sentence with a wrong checksum or field)"), std::string::npos)
        << output.err();
    EXPECT_NE(output.err().find(path + ":7: bad line (expected an NMEA sentence such as $GPRMC,...)"),
              std::string::npos);
}
