// DecodedRow: one row of the decoder's output: a signal's new value, a
// trigger that fired, or a signal that went stale.
#pragma once

#include <cstdint>
#include <string_view>

namespace rksignal {

// A signal's value at a time, as every output format shows it.
struct SignalRow {
    uint64_t time = 0; // microseconds since 1970-01-01 UTC
    std::string_view instance;
    double value = 0;  // physical value
    std::string_view unit;
    std::string_view description; // the value's description; empty when the signal has none
    int source = -1; // J1939 rows: the sender's source address; -1 for all others
};

struct DecodedRow : SignalRow {
    enum Kind : uint8_t {
        Signal,  // a value written (changed, or any with DecodeOptions::allWrites)
        Trigger, // a trigger fired: `expression`, at the latest time of its signals
        Timeout, // `instance` had no new value for the time-out, as of `time`
    };

    Kind kind = Signal;
    std::string_view expression; // Trigger rows only
};

} // namespace rksignal
