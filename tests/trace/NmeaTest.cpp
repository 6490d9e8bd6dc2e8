// NMEA decoding of GPS trace messages: real receiver sentences and corrupted
// copies of them.
#include "trace/GPSTraceMessage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

namespace {

const std::string rmc = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A";
const std::string gga = "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47";

double asDouble(uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

GPSTraceMessage message(const std::string& nmea)
{
    GPSTraceMessage msg;
    msg.nmea = nmea;
    return msg;
}

} // namespace

TEST(Nmea, ReadsRealReceiverSentences)
{
    // The plain north-east fix of a GPS receiver is decoded, value by value,
    // in the example recordings' expected output; the corrupted copies below
    // start from these two.
    GPSTraceMessage::numeric_gprmc_t r;
    ASSERT_TRUE(message(rmc).getGPRMC(r));
    EXPECT_DOUBLE_EQ(asDouble(r.speed), 22.4 * 1.852);
    GPSTraceMessage::numeric_gpgga_t g;
    ASSERT_TRUE(message(gga).getGPGGA(g));

    // A multi-constellation receiver: both sentences CR/LF separated,
    // fractional seconds, south and west, no course, negative altitude,
    // lowercase checksum digits.
    const GPSTraceMessage gn = message("$GNGGA,093005.00,5231.12345,S,01324.54321,W,1,12,0.65,-12.3,M,45.1,M,,*5E\r\n"
                                       "$GNRMC,093005.00,A,5231.12345,S,01324.54321,W,0.015,,150726,,,A*6c\r\n");
    ASSERT_TRUE(gn.getGPRMC(r));
    EXPECT_EQ(std::tie(r.time, r.date), std::make_tuple(93005, 150726));
    EXPECT_DOUBLE_EQ(asDouble(r.latitude), -(52 + 31.12345 / 60));
    EXPECT_DOUBLE_EQ(asDouble(r.longitude), -(13 + 24.54321 / 60));
    ASSERT_TRUE(gn.getGPGGA(g));
    EXPECT_DOUBLE_EQ(asDouble(g.altitude), -12.3);

    // What receivers really send: fields no record holds are not looked at
    // (a variation without its direction, 13 and 15 GGA fields, "0.9." as
    // HDOP), numbers end in a point, every constellation's talker, and
    // empty fields are flagged.
    ASSERT_TRUE(message("$BDRMC,123519,A,4807.,N,01131.000,E,01.,,230394,003.1,,A").getGPRMC(r));
    EXPECT_DOUBLE_EQ(asDouble(r.latitude), 48 + 7.0 / 60);
    EXPECT_DOUBLE_EQ(asDouble(r.speed), 1.852);
    EXPECT_EQ(r.emptyFields, GPSTraceMessage::EmptyCourse);
    ASSERT_TRUE(message("$GAGGA,123519,4807.038,N,01131.000,E,1,08,0.9.,545.4,M,46.9,M").getGPGGA(g));
    EXPECT_EQ(std::make_tuple(g.satellites, g.emptyFields), std::make_tuple(8, 0));
    ASSERT_TRUE(message("$GLGGA,123519,,,,,0,,,,M,,M,,,X").getGPGGA(g));
    EXPECT_EQ(g.emptyFields, GPSTraceMessage::EmptySatellites | GPSTraceMessage::EmptyAltitude);

    // No checksum, and noise before the sentence.
    EXPECT_TRUE(message("\x07noise" + rmc.substr(0, rmc.size() - 3)).getGPRMC(r));
    // A void fix has empty fields, or placeholders that are no value either.
    ASSERT_TRUE(message("$GPRMC,,V,,,,,,,,,,N*53").getGPRMC(r));
    EXPECT_EQ(std::tie(r.status, r.time, r.latitude), std::make_tuple(0, 0, 0u));
    ASSERT_TRUE(message("$GPRMC,235946.005,V,8960.000000,N,00000.000000,E,0.000,400,050180,,,N").getGPRMC(r));
    EXPECT_EQ(std::tie(r.status, r.time, r.latitude, r.course, r.emptyFields),
              std::make_tuple(0, 235946, 0u, 0u, uint8_t(GPSTraceMessage::EmptyLatitude | GPSTraceMessage::EmptyCourse)));
}

TEST(Nmea, RejectsCorruptedSentencesWithoutTouchingTheRecord)
{
    std::string withNul = rmc;
    withNul[20] = '\0';
    const std::string badRmc[] = {
        "$GPRMC,123519,A,4807.039,N,01131.000,E,022.4,084.4,230394,003.1,W*6A", // checksum mismatch
        rmc.substr(0, rmc.size() - 1), rmc + "0", withNul,
        // Without checksum, so that the fields themselves are checked.
        "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4",              // cut before the date
        "$GPRMC,123519,A,4807.038,X,01131.000,E,022.4,084.4,230394", // hemisphere
        "$GPRMC,123519,A,4860.000,N,01131.000,E,022.4,084.4,230394", // minute 60
        "$GPRMC,123519,A,807.038,N,01131.000,E,022.4,084.4,230394",  // degree digits
        "$GPRMC,1235a9,A,4807.038,N,01131.000,E,022.4,084.4,230394", // time
        "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,321394", // date
        "$GPRMC,123519,X,4807.038,N,01131.000,E,022.4,084.4,230394", // status
        "$GPRMC,123519,A,4807.038,N,01131.000,E,22.4.1,084.4,230394",
        "$GXRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394", // not a satellite system's talker
        "$GPRMC", "$GPRMC,", "$GPRM", "",
    };
    for (const std::string& text : badRmc) {
        GPSTraceMessage::numeric_gprmc_t r;
        r.time = 77;
        EXPECT_FALSE(message(text).getGPRMC(r)) << text;
        EXPECT_EQ(r.time, 77) << text;
    }

    const std::string badGga[] = {
        "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*48",
        "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9",                   // cut before the altitude
        "$GPGGA,123519,4807.038,N,01131.000,E,1,0x8,0.9,545.4,M,46.9,M,,", // satellites
        "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,54e5,M,46.9,M,,",   // altitude
        rmc,                                                                 // not a GGA
    };
    for (const std::string& text : badGga) {
        GPSTraceMessage::numeric_gpgga_t g;
        g.satellites = 77;
        EXPECT_FALSE(message(text).getGPGGA(g)) << text;
        EXPECT_EQ(g.satellites, 77) << text;
    }
}
