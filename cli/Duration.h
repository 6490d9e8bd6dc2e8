// Duration: a span of recording time as a user writes it on the command
// line: a number and a unit, "500ms", "5s", "2min", "1.5s", "250us", "1h".
// The unit is required: a bare "5" could mean seconds or milliseconds.
#pragma once

#include <cstdint>
#include <string>

namespace rksignal {

class Duration {
public:
    // Microseconds of `text`; false for a negative or malformed text, one
    // without a known unit, or one of more than a year.
    static bool parse(const std::string& text, uint64_t& microseconds);
    // For CLI11's check(): empty when `text` parses, else what is expected.
    static std::string check(const std::string& text);
};

} // namespace rksignal
