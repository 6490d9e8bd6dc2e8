// StatsReport: a DecodeStats as a person reads it (aligned tables: the
// frame identifiers, then the signals written, then the signals never
// written) or as a program reads it (one JSON document).
//
// Thread safety: stateless; calls are independent.
#pragma once

#include "decode/DecodeStats.h"

#include <ostream>

namespace rksignal {

class StatsReport {
public:
    static void writeTable(std::ostream& out, const DecodeStats& stats);
    // {"identifiers": [...], "unknownFrames": N, "signals": [...],
    //  "neverWritten": [...]}; times as "YYYY-MM-DD hh:mm:ss.uuuuuu" UTC
    // and in microseconds, gaps in seconds.
    static void writeJson(std::ostream& out, const DecodeStats& stats);
};

} // namespace rksignal
