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
                RmcDate };
// Up to the date every receiver sends; what follows (magnetic variation,
// mode, navigation status) varies between receivers and is not read.
constexpr size_t rmcRequiredFields = RmcDate + 1;

enum GgaField { GgaTime, GgaLatitude, GgaNorthSouth, GgaLongitude, GgaEastWest, GgaQuality, GgaSatellites, GgaHdop,
                GgaAltitude };
// Receivers send 13 to 15 fields; what follows the altitude is not read.
constexpr size_t ggaRequiredFields = GgaAltitude + 1;

uint8_t emptyBit(std::string_view field, GPSTraceMessage::EmptyField bit)
{
    return field.empty() ? bit : 0;
}

} // namespace

bool GPSTraceMessage::getGPRMC(numeric_gprmc_t& rmc) const
{
    NmeaSentence s;
    if (!s.find(nmea, "RMC") || s.size() < rmcRequiredFields)
        return false;

    numeric_gprmc_t parsed;
    const std::string_view status = s.field(RmcStatus);
    if (status != "A" && status != "V")
        return false;
    parsed.status = status == "A" ? 1 : 0;

    // A void fix gives the signals nothing but its status, and receivers
    // fill its other fields with placeholders ("8960.000000"): there a field
    // that cannot be read is no value rather than a reason to drop the
    // sentence.
    const bool active = parsed.status == 1;
    uint8_t empty = emptyBit(s.field(RmcTime), EmptyTime) | emptyBit(s.field(RmcLatitude), EmptyLatitude) |
                    emptyBit(s.field(RmcLongitude), EmptyLongitude) | emptyBit(s.field(RmcSpeed), EmptySpeed) |
                    emptyBit(s.field(RmcCourse), EmptyCourse) | emptyBit(s.field(RmcDate), EmptyDate);
    const auto take = [&](bool read, EmptyField bit) {
        if (!read)
            empty |= bit;
        return read || !active;
    };
    double latitude = 0, longitude = 0, knots = 0, course = 0;
    if (!take(NmeaField::time(s.field(RmcTime), parsed.time), EmptyTime) ||
        !take(NmeaField::coordinate(s.field(RmcLatitude), s.field(RmcNorthSouth), 2, 'N', 'S', latitude),
              EmptyLatitude) ||
        !take(NmeaField::coordinate(s.field(RmcLongitude), s.field(RmcEastWest), 3, 'E', 'W', longitude),
              EmptyLongitude) ||
        !take(NmeaField::decimal(s.field(RmcSpeed), false, knots), EmptySpeed) ||
        !take(NmeaField::decimal(s.field(RmcCourse), false, course) && course <= 360.0, EmptyCourse) ||
        !take(NmeaField::date(s.field(RmcDate), parsed.date), EmptyDate))
        return false;

    parsed.latitude = bitsOf(latitude);
    parsed.longitude = bitsOf(longitude);
    parsed.speed = bitsOf(knots * kilometresPerNauticalMile);
    parsed.course = bitsOf(empty & EmptyCourse ? 0.0 : course);
    parsed.emptyFields = empty;
    rmc = parsed;
    return true;
}

bool GPSTraceMessage::getGPGGA(numeric_gpgga_t& gga) const
{
    NmeaSentence s;
    if (!s.find(nmea, "GGA") || s.size() < ggaRequiredFields)
        return false;

    double altitude = 0;
    uint32_t satellites = 0;
    if (!NmeaField::number(s.field(GgaSatellites), 3, satellites) ||
        !NmeaField::decimal(s.field(GgaAltitude), true, altitude))
        return false;

    gga.satellites = static_cast<uint16_t>(satellites);
    gga.altitude = bitsOf(altitude);
    gga.emptyFields = emptyBit(s.field(GgaSatellites), EmptySatellites) | emptyBit(s.field(GgaAltitude), EmptyAltitude);
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
