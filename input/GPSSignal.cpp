#include "input/GPSSignal.h"

#include "trace/GPSTraceMessage.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

const std::string timeName = "GPS.Time";
const std::string statusName = "GPS.Status";
const std::string latitudeName = "GPS.Latitude";
const std::string longitudeName = "GPS.Longitude";
const std::string speedName = "GPS.Speed";
const std::string courseName = "GPS.Course";
const std::string dateName = "GPS.Date";
const std::string satellitesName = "GPS.Satellites";
const std::string altitudeName = "GPS.Altitude";

std::map<std::string, uint64_t> gpsIdentifierBases()
{
    std::map<std::string, uint64_t> bases;
    for (const std::string* name : {&timeName, &statusName, &latitudeName, &longitudeName, &speedName, &courseName,
                                    &dateName, &satellitesName, &altitudeName})
        bases.emplace(*name, InputSignal::gpsKind);
    return bases;
}

// The RMC field that feeds the signal `name`, and its bit in emptyFields;
// false for the GGA signals.
bool rmcField(const std::string& name, const GPSTraceMessage::numeric_gprmc_t& rmc, uint64_t& value, uint8_t& empty)
{
    empty = 0;
    if (name == timeName)
        value = static_cast<uint64_t>(rmc.time), empty = GPSTraceMessage::EmptyTime;
    else if (name == statusName)
        value = rmc.status;
    else if (name == latitudeName)
        value = rmc.latitude, empty = GPSTraceMessage::EmptyLatitude;
    else if (name == longitudeName)
        value = rmc.longitude, empty = GPSTraceMessage::EmptyLongitude;
    else if (name == speedName)
        value = rmc.speed, empty = GPSTraceMessage::EmptySpeed;
    else if (name == courseName)
        value = rmc.course, empty = GPSTraceMessage::EmptyCourse;
    else if (name == dateName)
        value = static_cast<uint64_t>(rmc.date), empty = GPSTraceMessage::EmptyDate;
    else
        return false;
    return true;
}

// Writes `value` to the signal `name`, unless its field came empty and
// empty fields are skipped.
void writeNamed(const std::string& name, uint64_t value, uint64_t timestamp, std::vector<unsigned long>& ids,
                SignalStorage* storage, bool fieldEmpty = false)
{
    if (fieldEmpty && GPSSignal::skipEmptyFields)
        return;
    if (BaseSignal* signal = BaseSignal::getInstance(name, storage)) {
        signal->write(value, timestamp);
        ids.push_back(signal->id);
    }
}

// A void fix: no value of the receiver holds any more, only the status.
bool clearForVoidFix(uint64_t timestamp, std::vector<unsigned long>& ids, SignalStorage* storage)
{
    for (const auto& entry : GPSSignal::gps_ids)
        if (entry.first != statusName)
            if (BaseSignal* signal = BaseSignal::getInstance(entry.first, storage))
                signal->clear();
    writeNamed(statusName, 0, timestamp, ids, storage);
    return !ids.empty();
}

// "hh:mm:ss" from hhmmss, "dd.mm.yy" from ddmmyy.
std::string sixDigitText(uint64_t value, char separator)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02u%c%02u%c%02u", unsigned(value / 10000 % 100), separator,
                  unsigned(value / 100 % 100), separator, unsigned(value % 100));
    return text;
}

// Degrees, minutes and seconds (each cut, not rounded) and the hemisphere.
std::string coordinateText(uint64_t raw, char positive, char negative)
{
    double value;
    std::memcpy(&value, &raw, sizeof value);
    const double x = std::fabs(value);
    const double degrees = std::trunc(x);
    const double minutesExact = (x - degrees) * 60.0;
    const double minutes = std::trunc(minutesExact);
    const double seconds = std::trunc((minutesExact - minutes) * 60.0);
    // Printed as doubles, so that no value is out of range for a conversion;
    // the largest double has 309 digits.
    char text[400];
    std::snprintf(text, sizeof text, "%.0f\xc2\xb0%02.0f'%02.0f\"%c", degrees, minutes, seconds,
                  value < 0 ? negative : positive);
    return text;
}

} // namespace

std::map<std::string, uint64_t> GPSSignal::gps_ids = gpsIdentifierBases();

std::map<std::string, signalValue_t> GPSSignal::gpsSignalTypes = {
    {timeName, SIGNAL_UNSIGNED},      {statusName, SIGNAL_UNSIGNED}, {latitudeName, SIGNAL_DOUBLE},
    {longitudeName, SIGNAL_DOUBLE},   {speedName, SIGNAL_DOUBLE},    {courseName, SIGNAL_DOUBLE},
    {dateName, SIGNAL_UNSIGNED},      {satellitesName, SIGNAL_UNSIGNED}, {altitudeName, SIGNAL_DOUBLE},
};

std::map<std::string, std::string> GPSSignal::gpsSignalUnit = {
    {timeName, "UTC"}, {statusName, ""},          {latitudeName, ""},   {longitudeName, ""}, {speedName, "km/h"},
    {courseName, "\xc2\xb0"}, {dateName, "UTC"}, {satellitesName, ""}, {altitudeName, "m"},
};

std::map<uint64_t, std::string> GPSSignal::gpsStatusValueDescription = {{0, "Void"}, {1, "Active"}};

uint8_t GPSSignal::gpsStatus = 0;
bool GPSSignal::skipEmptyFields = false;

GPSSignal::GPSSignal(const inputSignalDef_t& definition, bool shmem, SignalStorage* storage)
    : InputSignal(definition, shmem, storage)
{
    const auto base = gps_ids.find(def.instance);
    if (base != gps_ids.end())
        registerIdentifier(base->second, "GPSSignal", "GPSSignal");
    else
        reportUnknownName("GPSSignal", "GPSSignal");
    if (debug)
        traceCreated("GPSSignal", "GPSSignal", false);

    const auto type = gpsSignalTypes.find(def.instance);
    if (type != gpsSignalTypes.end())
        setType(type->second);
    const auto unit = gpsSignalUnit.find(def.instance);
    if (unit != gpsSignalUnit.end())
        setUnit(unit->second);
    if (def.instance == statusName && def.valueDescription.empty())
        setValueDescription(gpsStatusValueDescription);
}

std::string GPSSignal::getValueDescription(unsigned long raw) const
{
    const std::string& name = def.instance;
    if (name == dateName)
        return sixDigitText(raw, '.');
    if (name == timeName)
        return sixDigitText(raw, ':');
    if (name == latitudeName)
        return coordinateText(raw, 'N', 'S');
    if (name == longitudeName)
        return coordinateText(raw, 'E', 'W');
    return InputSignal::getValueDescription(raw);
}

bool GPSSignal::decodeMessage(const GPSTraceMessage& msg, std::vector<unsigned long>& ids, SignalStorage* storage)
{
    ids.clear();
    GPSTraceMessage::numeric_gprmc_t rmc{};
    if (msg.getGPRMC(rmc)) {
        gpsStatus = rmc.status;
        // The GGA sentence of a void fix is not looked at.
        if (gpsStatus == 0)
            return clearForVoidFix(msg.timestamp, ids, storage);
        for (const auto& entry : gps_ids) {
            uint64_t value = 0;
            uint8_t empty = 0;
            if (rmcField(entry.first, rmc, value, empty))
                writeNamed(entry.first, value, msg.timestamp, ids, storage, (rmc.emptyFields & empty) != 0);
        }
    } else if (gpsStatus == 0) {
        return false; // no fix yet: a GGA sentence alone means nothing
    }

    GPSTraceMessage::numeric_gpgga_t gga{};
    if (msg.getGPGGA(gga)) {
        writeNamed(satellitesName, gga.satellites, msg.timestamp, ids, storage,
                   gga.emptyFields & GPSTraceMessage::EmptySatellites);
        writeNamed(altitudeName, gga.altitude, msg.timestamp, ids, storage,
                   gga.emptyFields & GPSTraceMessage::EmptyAltitude);
    }
    return !ids.empty();
}
