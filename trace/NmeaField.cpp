#include "trace/NmeaField.h"

#include <charconv>

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool allDigits(std::string_view text)
{
    for (char c : text)
        if (!isDigit(c))
            return false;
    return true;
}

// Value of two decimal digits at `at`; the caller has checked they are digits.
int twoDigits(std::string_view text, size_t at)
{
    return (text[at] - '0') * 10 + (text[at + 1] - '0');
}

// Splits "digits[.[digits]]" into its integer part; false for any other
// form (no digits before the point, a second point, a sign, spaces).
// Receivers write "01." for 1.
bool integerPart(std::string_view field, std::string_view& integer)
{
    const size_t point = field.find('.');
    integer = field.substr(0, point);
    if (integer.empty() || !allDigits(integer))
        return false;
    return point == std::string_view::npos || allDigits(field.substr(point + 1));
}

// The text has been checked to be a plain decimal; from_chars reads it
// without locale and without looking past its end.
double toDouble(std::string_view text)
{
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    return value;
}

} // namespace

bool NmeaField::time(std::string_view field, int64_t& hhmmss)
{
    if (field.empty()) {
        hhmmss = 0;
        return true;
    }
    std::string_view integer;
    if (!integerPart(field, integer) || integer.size() != 6)
        return false;
    // Second 60 is a leap second.
    if (twoDigits(integer, 0) > 23 || twoDigits(integer, 2) > 59 || twoDigits(integer, 4) > 60)
        return false;
    hhmmss = twoDigits(integer, 0) * 10000 + twoDigits(integer, 2) * 100 + twoDigits(integer, 4);
    return true;
}

bool NmeaField::date(std::string_view field, int64_t& ddmmyy)
{
    if (field.empty()) {
        ddmmyy = 0;
        return true;
    }
    if (field.size() != 6 || !allDigits(field))
        return false;
    const int day = twoDigits(field, 0);
    const int month = twoDigits(field, 2);
    if (day < 1 || day > 31 || month < 1 || month > 12)
        return false;
    ddmmyy = day * 10000 + month * 100 + twoDigits(field, 4);
    return true;
}

bool NmeaField::coordinate(std::string_view field, std::string_view hemisphere, int degreeDigits, char positive,
                           char negative, double& degrees)
{
    if (field.empty() && hemisphere.empty()) {
        degrees = 0;
        return true;
    }
    std::string_view integer;
    if (!integerPart(field, integer) || integer.size() != size_t(degreeDigits) + 2)
        return false;
    if (hemisphere.size() != 1 || (hemisphere[0] != positive && hemisphere[0] != negative))
        return false;
    const double whole = toDouble(field.substr(0, size_t(degreeDigits)));
    const double minutes = toDouble(field.substr(size_t(degreeDigits)));
    const double limit = degreeDigits == 2 ? 90.0 : 180.0;
    const double value = whole + minutes / 60.0;
    if (minutes >= 60.0 || value > limit)
        return false;
    degrees = hemisphere[0] == negative ? -value : value;
    return true;
}

bool NmeaField::decimal(std::string_view field, bool allowSign, double& value)
{
    if (field.empty()) {
        value = 0;
        return true;
    }
    const bool negative = allowSign && field[0] == '-';
    std::string_view integer;
    if (!integerPart(field.substr(negative ? 1 : 0), integer))
        return false;
    value = toDouble(field);
    return true;
}

bool NmeaField::number(std::string_view field, int maxDigits, uint32_t& value)
{
    if (field.empty()) {
        value = 0;
        return true;
    }
    if (field.size() > size_t(maxDigits) || !allDigits(field))
        return false;
    uint32_t result = 0;
    for (char c : field)
        result = result * 10 + uint32_t(c - '0');
    value = result;
    return true;
}

bool NmeaField::letter(std::string_view field, std::string_view letters)
{
    return field.empty() || (field.size() == 1 && letters.find(field[0]) != std::string_view::npos);
}
