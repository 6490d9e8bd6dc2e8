// NmeaReader: the lines of an NMEA log, one sentence a line, optionally
// prefixed by the time stamp of the text recordings:
//
//   (1718000000.250000) $GPRMC,083319.00,A,4807.038,N,...*hh
//   $GPGGA,083319.00,4807.038,N,...*hh
//
// The RMC and GGA sentences of one fix (consecutive sentences with the same
// UTC time field) become one GPS message for GPSSignal::decodeMessage. Its
// time stamp is the prefix of the fix's first sentence; without one, the
// fix's own UTC date (from RMC, or the last RMC for a GGA alone) and time;
// without those, the time stamp of the fix before. Other sentences (GSA,
// GSV, VTG, ...) carry nothing the GPS signals read and are skipped; an RMC
// or GGA sentence that the GPS decoder cannot read (checksum, field format)
// is a bad line.
//
// Not thread-safe; one reader per recording.
#pragma once

#include "recordings/LineParser.h"

#include <cstdint>
#include <string>

namespace rksignal {

class NmeaReader : public LineParser {
public:
    Result parseLine(std::string_view line, RecordedMessage& message, const char*& reason) override;
    bool finish(RecordedMessage& message) override;

private:
    struct Fix {
        bool open = false;
        std::string time; // the UTC time field shared by the fix's sentences
        std::string rmc;
        std::string gga;
        bool stamped = false;
        uint64_t stamp = 0;       // the prefix of the first sentence
        bool timeKnown = false;
        uint64_t timeOfDay = 0;   // microseconds since midnight UTC
        int64_t day = -1;         // days since 1970-01-01 of its RMC date; -1 none
    };

    // Adds a checked sentence to the fix being collected.
    void collect(std::string_view sentence, bool isRmc, std::string_view time, bool stamped, uint64_t stamp);
    // Turns the collected fix into `message` and starts an empty one.
    void emit(RecordedMessage& message);

    Fix fix_;
    GPSTraceMessage scratch_; // one sentence, to let the decoder's own parser check it
    int64_t day_ = -1;        // the day of the last fix that had a date; -1 none yet
    uint64_t lastTimestamp_ = 0;
};

} // namespace rksignal
