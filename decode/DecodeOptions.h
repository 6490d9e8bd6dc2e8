// DecodeOptions: what a Decoder decodes and which rows it hands out; the
// options of `rksignal decode` that do not concern the output format.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace rksignal {

struct DecodeOptions {
    // Captures, NMEA logs, trace lines, candump logs ("-": standard input),
    // recognised by content or name; several are merged in time order.
    std::vector<std::string> recordings;
    // "NAME=N": the channel of a candump interface or of a capture file.
    std::vector<std::string> channelMaps;
    // A row for every write, not only for changed values.
    bool allWrites = false;
    // Globs over instance names: only matching signals get rows (all when
    // empty). Triggers still read every signal.
    std::vector<std::string> signalPatterns;
    // Trigger expressions over instance names, and whether they fire on a
    // rising edge instead of while true.
    std::vector<std::string> triggers;
    bool edge = false;
    // Timeout rows for signals without a new value for this many
    // milliseconds of recording time; 0: none.
    unsigned long timeoutMs = 0;
    // Walk SOME/IP and PDU containers as the logger does (see
    // EthernetSignal::containerFraming) instead of by the protocols' own
    // framing, which real captures follow.
    bool loggerFraming = false;
    // False: decode only (values, shared memory, counts), hand out no rows.
    bool rows = true;
    // A CAN or LIN signal whose bits lie beyond the bytes a frame brought
    // gets no value (counted in DecodeCounts::shortFrames); true: it is
    // decoded with the missing bytes as zeros, as library clients get it.
    bool zeroFillShortFrames = false;
    // Keep a DecodeStats of the run (Decoder::stats()).
    bool stats = false;

    // Live replay: values in shared memory, keyed by instance name, left
    // there after the run with keepSegments (BaseSignal::detachOnly).
    bool sharedMemory = false;
    bool keepSegments = false;
    // Decode at the recording's pace times `speed`, measured from its first
    // message; 0: as fast as possible. `beforeWaiting` (may be empty) is
    // called before each wait, e.g. to write out rows a caller buffers.
    double speed = 0;
    std::function<void()> beforeWaiting;
};

} // namespace rksignal
