#include "recordings/NmeaReader.h"

#include "definitions/TextCursor.h"
#include "trace/NmeaSentence.h"

namespace rksignal {

namespace {

constexpr uint64_t microsPerDay = 86400ull * 1000000u;

// Days from 1970-01-01 to a civil date of the proleptic Gregorian calendar.
int64_t daysFromCivil(int64_t year, int64_t month, int64_t day)
{
    year -= month <= 2;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t yearOfEra = year - era * 400;
    const int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

// ddmmyy; receivers send two-digit years, taken as 1980..2079.
bool dayOf(int64_t ddmmyy, int64_t& days)
{
    const int64_t day = ddmmyy / 10000, month = ddmmyy / 100 % 100, year = ddmmyy % 100;
    if (day < 1 || day > 31 || month < 1 || month > 12)
        return false;
    days = daysFromCivil(year < 80 ? 2000 + year : 1900 + year, month, day);
    return true;
}

// "hhmmss[.fraction]" to microseconds since midnight; fraction digits
// beyond six are cut.
bool timeOfDay(std::string_view field, uint64_t& micros)
{
    if (field.size() < 6)
        return false;
    uint64_t digits[6];
    for (size_t i = 0; i < 6; ++i) {
        if (field[i] < '0' || field[i] > '9')
            return false;
        digits[i] = uint64_t(field[i] - '0');
    }
    const uint64_t hours = digits[0] * 10 + digits[1], minutes = digits[2] * 10 + digits[3],
                   seconds = digits[4] * 10 + digits[5];
    if (hours > 23 || minutes > 59 || seconds > 60)
        return false;
    uint64_t fraction = 0;
    int fractionDigits = 0;
    if (field.size() > 6) {
        if (field[6] != '.')
            return false;
        for (size_t i = 7; i < field.size(); ++i) {
            if (field[i] < '0' || field[i] > '9')
                return false;
            if (fractionDigits < 6) {
                fraction = fraction * 10 + uint64_t(field[i] - '0');
                ++fractionDigits;
            }
        }
    }
    for (int i = fractionDigits; i < 6; ++i)
        fraction *= 10;
    micros = ((hours * 60 + minutes) * 60 + seconds) * 1000000u + fraction;
    return true;
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

} // namespace

LineParser::Result NmeaReader::parseLine(std::string_view line, RecordedMessage& message, const char*& reason)
{
    TextCursor cursor(line);
    cursor.skipSpaces();
    bool stamped = false;
    uint64_t stamp = 0;
    if (cursor.peek() == '(') {
        if (!cursor.readTimestamp(stamp)) {
            reason = "expected a time stamp \"(<seconds>.<microseconds>)\" before the sentence";
            return Bad;
        }
        stamped = true;
        cursor.skipSpaces();
    }
    const std::string_view sentence = trimmed(cursor.rest());
    if (sentence.size() < 6 || sentence[0] != '$') {
        reason = "expected an NMEA sentence such as $GPRMC,...";
        return Bad;
    }
    const std::string_view talker = sentence.substr(1, 2), type = sentence.substr(3, 3);
    if (!NmeaSentence::isGnssTalker(talker) || (type != "RMC" && type != "GGA"))
        return Skipped;

    const bool isRmc = type == "RMC";
    NmeaSentence fields;
    scratch_.nmea.assign(sentence.data(), sentence.size());
    GPSTraceMessage::numeric_gprmc_t rmc;
    GPSTraceMessage::numeric_gpgga_t gga;
    if (!fields.find(sentence, type) || (isRmc ? !scratch_.getGPRMC(rmc) : !scratch_.getGPGGA(gga))) {
        reason = isRmc ? "RMC sentence with a wrong checksum or field" : "GGA sentence with a wrong checksum or field";
        return Bad;
    }
    const std::string_view time = fields.field(0);
    int64_t day = -1;
    if (isRmc && !dayOf(rmc.date, day))
        day = -1;

    // A sentence of another time, or a second one of the same type, closes
    // the fix collected so far.
    const bool sameFix = fix_.open && time == fix_.time && (isRmc ? fix_.rmc.empty() : fix_.gga.empty());
    Result result = Skipped;
    if (fix_.open && !sameFix) {
        emit(message);
        result = Message;
    }
    collect(sentence, isRmc, time, stamped, stamp);
    if (day >= 0)
        fix_.day = day;
    return result;
}

void NmeaReader::collect(std::string_view sentence, bool isRmc, std::string_view time, bool stamped, uint64_t stamp)
{
    if (!fix_.open) {
        fix_.open = true;
        fix_.time.assign(time.data(), time.size());
        fix_.stamped = stamped;
        fix_.stamp = stamp;
        fix_.timeKnown = timeOfDay(time, fix_.timeOfDay);
        fix_.day = -1;
    }
    (isRmc ? fix_.rmc : fix_.gga).assign(sentence.data(), sentence.size());
}

void NmeaReader::emit(RecordedMessage& message)
{
    message.kind = RecordedMessage::Gps;
    GPSTraceMessage& gps = message.gps;
    gps.nmea = fix_.rmc;
    if (!fix_.rmc.empty() && !fix_.gga.empty())
        gps.nmea += "\r\n";
    gps.nmea += fix_.gga;

    if (fix_.day >= 0)
        day_ = fix_.day;
    if (fix_.stamped)
        lastTimestamp_ = fix_.stamp;
    else if (fix_.timeKnown && day_ >= 0)
        lastTimestamp_ = uint64_t(day_) * microsPerDay + fix_.timeOfDay;
    gps.timestamp = lastTimestamp_;

    fix_.open = false;
    fix_.rmc.clear();
    fix_.gga.clear();
}

bool NmeaReader::finish(RecordedMessage& message)
{
    if (!fix_.open)
        return false;
    emit(message);
    return true;
}

} // namespace rksignal
