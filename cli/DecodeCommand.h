// DecodeCommand: `rksignal decode`, which decodes recordings into signal
// values and trigger events through the library.
#pragma once

#include <string>
#include <vector>

namespace rksignal {

struct DecodeOptions {
    std::vector<std::string> definitionFiles; // .dbc[@channel] or .json
    std::vector<std::string> recordings;      // captures, NMEA logs, trace lines, candump logs ("-": stdin)
    std::vector<std::string> channelMaps;     // "NAME=N": candump interface or capture file
    std::string format;                       // table, csv, jsonl, none; empty: by terminal
    bool allWrites = false;                   // a row for every write, not only changes
    std::vector<std::string> signalPatterns;  // globs over instance names
    std::vector<std::string> triggers;
    bool edge = false;
    unsigned long timeoutMs = 0;              // 0: no stale-value check
    // Live replay: values in shared memory (instance names as keys), kept
    // there after the run with keepSegments, at the recording's pace times
    // speed (realtime alone: speed 1; a speed given implies realtime).
    bool sharedMemory = false;
    bool keepSegments = false;
    bool realtime = false;
    double speed = 0;
};

class DecodeCommand {
public:
    // Exit status: 0 done, 1 a recording could not be read, 2 bad options,
    // definitions or expressions (nothing decoded then).
    static int run(const DecodeOptions& options);
};

} // namespace rksignal
