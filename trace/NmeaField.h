// NmeaField: readers for the field formats of NMEA 0183 sentences.
//
// Each reader takes one field as a view, accepts it only when it has exactly
// the expected form (digits, one decimal point, the expected letters), and
// otherwise returns false without touching its result. An empty field is a
// field the receiver has no value for: the readers accept it and give 0.
// Stateless and allocation-free; safe from any thread.
#pragma once

#include <cstdint>
#include <string_view>

class NmeaField {
public:
    // "hhmmss" with optional fraction ("123519", "093005.00"); the fraction
    // is dropped: 123519.
    static bool time(std::string_view field, int64_t& hhmmss);

    // "ddmmyy" ("230394") as the integer 230394.
    static bool date(std::string_view field, int64_t& ddmmyy);

    // Degrees and minutes ("4807.038", "01131.000") with `degreeDigits` digits
    // of degrees, and its hemisphere field; decimal degrees, negative for the
    // `negative` hemisphere. Both fields empty gives 0; one empty is malformed.
    static bool coordinate(std::string_view field, std::string_view hemisphere, int degreeDigits, char positive,
                           char negative, double& degrees);

    // A decimal number ("022.4", "545", "01.", "-12.3" when `allowSign`).
    static bool decimal(std::string_view field, bool allowSign, double& value);

    // Digits only ("08"), at most `maxDigits` of them.
    static bool number(std::string_view field, int maxDigits, uint32_t& value);

    // Empty, or one of the characters of `letters`.
    static bool letter(std::string_view field, std::string_view letters);
};
