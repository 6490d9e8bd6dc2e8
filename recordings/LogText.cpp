#include "recordings/LogText.h"

#include <cctype>

namespace rksignal {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

int monthOf(std::string_view name)
{
    static const char* const names[][3] = {
        {"jan", "jan", "jan"}, {"feb", "feb", "feb"}, {"mar", "mär", "mrz"}, {"apr", "apr", "apr"},
        {"may", "mai", "mai"}, {"jun", "jun", "jun"}, {"jul", "jul", "jul"}, {"aug", "aug", "aug"},
        {"sep", "sep", "sep"}, {"oct", "okt", "okt"}, {"nov", "nov", "nov"}, {"dec", "dez", "dez"},
    };
    for (int month = 0; month < 12; ++month)
        for (const char* candidate : names[month])
            if (equalsIgnoringCase(name, candidate))
                return month + 1;
    return 0;
}

// "hh:mm:ss[.fff...]"
bool parseClock(std::string_view text, uint64_t& hour, uint64_t& minute, uint64_t& micros)
{
    const size_t first = text.find(':');
    const size_t second = first == std::string_view::npos ? first : text.find(':', first + 1);
    if (second == std::string_view::npos)
        return false;
    return LogText::parseUnsigned(text.substr(0, first), 10, 23, hour) &&
           LogText::parseUnsigned(text.substr(first + 1, second - first - 1), 10, 59, minute) &&
           LogText::parseFixed(text.substr(second + 1), 6, micros) && micros < 61000000u;
}

} // namespace

std::string_view LogText::Words::next()
{
    size_t start = 0;
    while (start < rest_.size() && isBlank(rest_[start]))
        ++start;
    size_t end = start;
    while (end < rest_.size() && !isBlank(rest_[end]))
        ++end;
    const std::string_view word = rest_.substr(start, end - start);
    rest_.remove_prefix(end);
    return word;
}

bool LogText::parseUnsigned(std::string_view text, unsigned base, uint64_t limit, uint64_t& value)
{
    if (text.empty())
        return false;
    value = 0;
    for (char c : text) {
        unsigned digit;
        if (c >= '0' && c <= '9')
            digit = unsigned(c - '0');
        else if (base == 16 && c >= 'a' && c <= 'f')
            digit = unsigned(c - 'a' + 10);
        else if (base == 16 && c >= 'A' && c <= 'F')
            digit = unsigned(c - 'A' + 10);
        else
            return false;
        if (digit >= base || digit > limit || value > (limit - digit) / base)
            return false;
        value = value * base + digit;
    }
    return true;
}

bool LogText::parseFixed(std::string_view text, unsigned decimals, uint64_t& value)
{
    const size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    uint64_t integer = 0;
    uint64_t scale = 1;
    for (unsigned i = 0; i < decimals; ++i)
        scale *= 10;
    if (!parseUnsigned(whole, 10, UINT64_MAX / scale - 1, integer))
        return false;
    uint64_t fraction = 0;
    if (point != std::string_view::npos) {
        std::string_view digits = text.substr(point + 1);
        if (digits.size() > decimals)
            digits = digits.substr(0, decimals);
        uint64_t parsed = 0;
        if (!digits.empty() && !parseUnsigned(digits, 10, scale - 1, parsed))
            return false;
        for (char c : text.substr(point + 1))
            if (c < '0' || c > '9')
                return false;
        fraction = parsed;
        for (size_t i = digits.size(); i < decimals; ++i)
            fraction *= 10;
    }
    value = integer * scale + fraction;
    return true;
}

uint64_t LogText::utcMicros(int year, int month, int day, int hour, int minute, int second, uint32_t micros)
{
    // Days from the civil date (proleptic Gregorian), counted from 1970-01-01.
    const int y = year - (month <= 2 ? 1 : 0);
    const int era = (y >= 0 ? y : y - 399) / 400;
    const int yearOfEra = y - era * 400;
    const int dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    const int64_t days = int64_t(era) * 146097 + dayOfEra - 719468;
    const int64_t seconds = days * 86400 + hour * 3600 + minute * 60 + second;
    return seconds < 0 ? 0 : uint64_t(seconds) * 1000000u + micros;
}

bool LogText::parseDate(std::string_view text, uint64_t& micros)
{
    Words words(text);
    words.next(); // the weekday, in whatever language
    const int month = monthOf(words.next());
    uint64_t day = 0, hour = 0, minute = 0, secondMicros = 0, year = 0;
    if (month == 0 || !parseUnsigned(words.next(), 10, 31, day) || day == 0 ||
        !parseClock(words.next(), hour, minute, secondMicros))
        return false;
    std::string_view word = words.next();
    const bool pm = equalsIgnoringCase(word, "pm");
    if (pm || equalsIgnoringCase(word, "am")) {
        if (hour == 0 || hour > 12)
            return false;
        hour = hour % 12 + (pm ? 12 : 0);
        word = words.next();
    }
    if (!parseUnsigned(word, 10, 9999, year) || year < 1970)
        return false;
    micros = utcMicros(int(year), month, int(day), int(hour), int(minute), 0, 0) + secondMicros;
    return true;
}

uint8_t LogText::dlcToLength(unsigned dlc)
{
    static const uint8_t lengths[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
    return dlc < 16 ? lengths[dlc] : 64;
}

uint8_t LogText::lengthToDlc(unsigned length)
{
    uint8_t dlc = 0;
    while (dlc < 15 && dlcToLength(dlc) < length)
        ++dlc;
    return dlc;
}

} // namespace rksignal
