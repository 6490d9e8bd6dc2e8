#include "trace/GPSTraceMessage.h"

#include "trace/ByteText.h"
#include "trace/NmeaField.h"
#include "trace/NmeaSentence.h"

#include <cstring>

namespace {

constexpr double kilometresPerNauticalMile = 1.852;

// Doubles travel in the records as their bit patterns.
uint64_t bitsOf(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Field positions after the address.
enum RmcField { RmcTime, RmcStatus, RmcLatitude, RmcNorthSouth, RmcLongitude, RmcEastWest, RmcSpeed, RmcCourse,
                RmcDate, RmcVariation, RmcVariationDirection, RmcMode, RmcNavigationStatus };
// Up to the date every receiver sends; variation, mode (NMEA 2.3) and
// navigation status (NMEA 4.1) are optional at the end.
constexpr size_t rmcRequiredFields = RmcDate + 1;
constexpr size_t rmcMaxFields = RmcNavigationStatus + 1;

enum GgaField { GgaTime, GgaLatitude, GgaNorthSouth, GgaLongitude, GgaEastWest, GgaQuality, GgaSatellites, GgaHdop,
                GgaAltitude, GgaAltitudeUnit, GgaSeparation, GgaSeparationUnit, GgaDgpsAge, GgaDgpsStation };
constexpr size_t ggaFields = GgaDgpsStation + 1;

bool optionalRmcFieldsValid(const NmeaSentence& s)
{
    double variation = 0;
    return NmeaField::decimal(s.field(RmcVariation), false, variation) &&
           NmeaField::letter(s.field(RmcVariationDirection), "EW") &&
           NmeaField::letter(s.field(RmcMode), "ADEFMNPRS") && NmeaField::letter(s.field(RmcNavigationStatus), "SCUV");
}

} // namespace

bool GPSTraceMessage::getGPRMC(numeric_gprmc_t& rmc) const
{
    NmeaSentence s;
    if (!s.find(nmea, "RMC") || s.size() < rmcRequiredFields || s.size() > rmcMaxFields)
        return false;

    numeric_gprmc_t parsed;
    const std::string_view status = s.field(RmcStatus);
    if (status != "A" && status != "V")
        return false;
    parsed.status = status == "A" ? 1 : 0;

    double latitude = 0, longitude = 0, knots = 0, course = 0;
    if (!NmeaField::time(s.field(RmcTime), parsed.time) ||
        !NmeaField::coordinate(s.field(RmcLatitude), s.field(RmcNorthSouth), 2, 'N', 'S', latitude) ||
        !NmeaField::coordinate(s.field(RmcLongitude), s.field(RmcEastWest), 3, 'E', 'W', longitude) ||
        !NmeaField::decimal(s.field(RmcSpeed), false, knots) || !NmeaField::decimal(s.field(RmcCourse), false, course) ||
        course > 360.0 || !NmeaField::date(s.field(RmcDate), parsed.date) || !optionalRmcFieldsValid(s))
        return false;

    parsed.latitude = bitsOf(latitude);
    parsed.longitude = bitsOf(longitude);
    parsed.speed = bitsOf(knots * kilometresPerNauticalMile);
    parsed.course = bitsOf(course);
    rmc = parsed;
    return true;
}

bool GPSTraceMessage::getGPGGA(numeric_gpgga_t& gga) const
{
    NmeaSentence s;
    if (!s.find(nmea, "GGA") || s.size() != ggaFields)
        return false;

    int64_t time = 0;
    double latitude = 0, longitude = 0, hdop = 0, altitude = 0, separation = 0, dgpsAge = 0;
    uint32_t quality = 0, satellites = 0, station = 0;
    if (!NmeaField::time(s.field(GgaTime), time) ||
        !NmeaField::coordinate(s.field(GgaLatitude), s.field(GgaNorthSouth), 2, 'N', 'S', latitude) ||
        !NmeaField::coordinate(s.field(GgaLongitude), s.field(GgaEastWest), 3, 'E', 'W', longitude) ||
        !NmeaField::number(s.field(GgaQuality), 1, quality) || !NmeaField::number(s.field(GgaSatellites), 3, satellites) ||
        !NmeaField::decimal(s.field(GgaHdop), false, hdop) || !NmeaField::decimal(s.field(GgaAltitude), true, altitude) ||
        !NmeaField::letter(s.field(GgaAltitudeUnit), "M") ||
        !NmeaField::decimal(s.field(GgaSeparation), true, separation) ||
        !NmeaField::letter(s.field(GgaSeparationUnit), "M") || !NmeaField::decimal(s.field(GgaDgpsAge), false, dgpsAge) ||
        !NmeaField::number(s.field(GgaDgpsStation), 4, station))
        return false;

    gga.satellites = static_cast<uint16_t>(satellites);
    gga.altitude = bitsOf(altitude);
    return true;
}

std::ostream& operator<<(std::ostream& os, const GPSTraceMessage& msg)
{
    rktrace::printTimestamp(os, msg.timestamp);
    os << ",nmea=";
    // Sentences are CR/LF separated; keep the print form on one line.
    for (char c : msg.nmea)
        os << ((c == '\r' || c == '\n') ? ' ' : c);
    return os;
}
