// GPS signals: their tables, the RMC/GGA decoder and the value texts.
#include "InputDefinition.h"
#include "input/GPSSignal.h"
#include "support/OutputCapture.h"
#include "trace/GPSTraceMessage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

const std::string rmc = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n";
const std::string gga = "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n";
const std::string voidRmc = "$GPRMC,,V,,,,,,,,,,N*53\r\n";

uint64_t bitsOf(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// All nine GPS signals (64 bits, for the doubles) in one storage.
struct GpsSignals {
    GpsSignals()
    {
        GPSSignal::gpsStatus = 0;
        for (const auto& entry : GPSSignal::gps_ids)
            signals.push_back(std::make_unique<GPSSignal>(inputDef(entry.first, 64), false, &storage));
    }
    BaseSignal& operator[](const std::string& name) { return *BaseSignal::getInstance(name, &storage); }
    bool decode(const std::string& nmea, std::vector<unsigned long>& ids)
    {
        GPSTraceMessage msg;
        msg.timestamp = 9;
        msg.nmea = nmea;
        return GPSSignal::decodeMessage(msg, ids, &storage);
    }
    SignalStorage storage;
    std::vector<std::unique_ptr<GPSSignal>> signals;
};

} // namespace

TEST(GPS, PredefinedNamesTypesUnitsAndTexts)
{
    GpsSignals gps;
    EXPECT_EQ(std::make_tuple(gps["GPS.Course"].getType(), gps["GPS.Course"].getUnit(),
                              gps["GPS.Satellites"].getType()),
              std::make_tuple(SIGNAL_DOUBLE, std::string("\xc2\xb0"), SIGNAL_UNSIGNED));
    EXPECT_EQ(gps["GPS.Time"].id & 0xff80000000000000UL, 0x0080000000000000UL);

    // North, east and the usual texts are in the example recordings' expected output.
    EXPECT_EQ(gps["GPS.Date"].getValueDescription(150726), "15.07.26");
    EXPECT_EQ(gps["GPS.Time"].getValueDescription(93005), "09:30:05");
    EXPECT_EQ(gps["GPS.Latitude"].getValueDescription(bitsOf(-(52 + 31.12345 / 60))), "52\xc2\xb0" "31'07\"S");
    EXPECT_EQ(gps["GPS.Longitude"].getValueDescription(bitsOf(-(13 + 24.54321 / 60))), "13\xc2\xb0" "24'32\"W");
    EXPECT_EQ(gps["GPS.Longitude"].getValueDescription(bitsOf(0.0)), "0\xc2\xb0" "00'00\"E");
    EXPECT_EQ(gps["GPS.Speed"].getValueDescription(0), "");

    OutputCapture capture;
    SignalStorage storage;
    GPSSignal foo(inputDef("GPS.Foo"), false, &storage);
    EXPECT_EQ(capture.out(), "[ERROR] GPSSignal::GPSSignal() GPS.Foo not found in predefined input lists, gpId = 0\n");
    EXPECT_EQ(foo.id, 0u);
}

TEST(GPS, VoidActiveAndGgaOnlyMessages)
{
    GpsSignals gps;
    std::vector<unsigned long> ids{42};
    EXPECT_FALSE(gps.decode(gga, ids)); // no fix seen yet
    EXPECT_TRUE(ids.empty());

    ASSERT_TRUE(gps.decode(rmc + gga, ids));
    // RMC values in name order, then satellites and altitude.
    EXPECT_EQ(ids, (std::vector<unsigned long>{gps["GPS.Course"].id, gps["GPS.Date"].id, gps["GPS.Latitude"].id,
                                               gps["GPS.Longitude"].id, gps["GPS.Speed"].id, gps["GPS.Status"].id,
                                               gps["GPS.Time"].id, gps["GPS.Satellites"].id, gps["GPS.Altitude"].id}));
    // The values written are compared in the example recordings' decoded output.

    ASSERT_TRUE(gps.decode(gga, ids)); // the fix is active
    EXPECT_EQ(ids, (std::vector<unsigned long>{gps["GPS.Satellites"].id, gps["GPS.Altitude"].id}));

    ASSERT_TRUE(gps.decode(voidRmc + gga, ids));
    EXPECT_EQ(ids, std::vector<unsigned long>{gps["GPS.Status"].id});
    EXPECT_EQ(gps["GPS.Status"].slot->raw, 0u);
    for (const auto& signal : gps.signals)
        EXPECT_EQ(signal->slot->valid, signal->def.instance == "GPS.Status") << signal->def.instance;
    EXPECT_FALSE(gps.decode(gga, ids)); // void again

    gps.signals.erase(gps.signals.begin() + 7); // GPS.Status: a void fix has nothing to report
    EXPECT_FALSE(gps.decode(voidRmc, ids));
}

// An empty course and altitude: 0 as the logger writes them, or no value
// at all when empty fields are skipped.
TEST(GPS, EmptyFieldsWrittenAsZeroOrSkipped)
{
    const std::string sentences = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,,230394,,\r\n"
                                  "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,,M,,M,,\r\n";
    GpsSignals gps;
    std::vector<unsigned long> ids;
    ASSERT_TRUE(gps.decode(sentences, ids));
    EXPECT_EQ(ids.size(), 9u);
    EXPECT_EQ(gps["GPS.Course"].slot->raw, 0u);

    GPSSignal::skipEmptyFields = true;
    GpsSignals skipping;
    ASSERT_TRUE(skipping.decode(sentences, ids));
    GPSSignal::skipEmptyFields = false;
    EXPECT_EQ(ids.size(), 7u);
    EXPECT_FALSE(skipping["GPS.Course"].slot->valid);
    EXPECT_FALSE(skipping["GPS.Altitude"].slot->valid);
    EXPECT_EQ(skipping["GPS.Satellites"].slot->raw, 8u);
}
