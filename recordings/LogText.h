// LogText: the small pieces of text that the logging tools' text formats
// (ASC, TRC) share: words of a line, numbers in a given base, decimal time
// offsets, calendar dates, and the CAN FD data length codes.
//
// Every function reads only the text it is given and allocates nothing;
// thread-safe.
#pragma once

#include <cstdint>
#include <string_view>

namespace rksignal {

class LogText {
public:
    // Splits at blanks (spaces, tabs); the next word, empty at the end.
    class Words {
    public:
        explicit Words(std::string_view text) : rest_(text) {}
        std::string_view next();
        std::string_view rest() const { return rest_; }

    private:
        std::string_view rest_;
    };

    // Digits of `base` (10 or 16) only; false on anything else or above
    // `limit`.
    static bool parseUnsigned(std::string_view text, unsigned base, uint64_t limit, uint64_t& value);
    // "<digits>[.<digits>]" as an integer count of 10^-`decimals` units;
    // digits past `decimals` are cut.
    static bool parseFixed(std::string_view text, unsigned decimals, uint64_t& value);
    // Microseconds since 1970 of a UTC calendar time; the fields must be in
    // their ranges.
    static uint64_t utcMicros(int year, int month, int day, int hour, int minute, int second, uint32_t micros);
    // "<weekday> <month> <day> <hh:mm:ss[.fff]> [am|pm] <year>" with English
    // or German month abbreviations, as the logging tools write their dates
    // in the language of the machine.
    static bool parseDate(std::string_view text, uint64_t& micros);

    // Bytes of a CAN FD frame with data length code `dlc` (above 15: 64).
    static uint8_t dlcToLength(unsigned dlc);
    // The smallest code that holds `length` bytes.
    static uint8_t lengthToDlc(unsigned length);
};

} // namespace rksignal
