// DecodeStats: how far a decoded recording can be trusted. Per frame
// identifier (bus, channel, identifier): frames, first and last time, the
// largest gap between two frames, frames too short for their signals,
// multiplexer values no branch is defined for, J1939 transfers that failed,
// and whether any definition names the identifier. Per signal: writes,
// changes, minimum, maximum and the time of the last write; a signal never
// written keeps writes 0.
//
// A Decoder keeps one when DecodeOptions::stats is set. Counting allocates
// only when an identifier is seen for the first time.
//
// Not thread-safe; one per decoder.
#pragma once

#include "recordings/RecordedMessage.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace rksignal {

struct DefinitionSet;

struct IdentifierStats {
    RecordedMessage::Kind kind = RecordedMessage::Can;
    uint8_t channel = 0;
    uint32_t id = 0;       // CAN identifier, LIN frame identifier, FlexRay slot, UDP/TCP port, input module
    bool extended = false; // CAN: 29-bit identifier
    bool known = false;    // a definition names it, or one of its frames wrote a signal
    uint64_t frames = 0;
    uint64_t first = 0, last = 0; // time stamps, microseconds
    uint64_t largestGap = 0;      // microseconds between two frames in a row
    uint64_t shortFrames = 0;
    uint64_t muxWithoutBranch = 0;
    uint64_t transportErrors = 0;

    // Frames per second between the first and the last frame; 0 for fewer
    // than two frames or no time between them.
    double meanRate() const;
    // "CAN", "LIN", "FlexRay", "Ethernet", "GPS", ...
    const char* bus() const;
    // The identifier as text: hexadecimal for CAN (3 or 8 digits), LIN and
    // FlexRay slots in decimal, ports in decimal; empty for kinds without one.
    std::string idText() const;
};

struct SignalStats {
    std::string instance;
    uint64_t writes = 0;
    uint64_t changes = 0;
    double minimum = 0, maximum = 0; // physical values; meaningful with writes
    uint64_t lastTime = 0;
};

class DecodeStats {
public:
    // The identifiers the definitions name, and one entry per signal (in
    // the decoder's signal order, instance names given).
    void setUp(const DefinitionSet& definitions, std::vector<std::string> instances);

    // A message read; `wroteSignals` whether it wrote any. Returns its
    // identifier's entry for the counts the decoder adds.
    IdentifierStats& frame(const RecordedMessage& message, bool wroteSignals);
    // Signal `index` written with `value` at `time`; `changed` its value changed.
    void written(size_t index, double value, uint64_t time, bool changed);

    // In the order first seen.
    const std::vector<IdentifierStats>& identifiers() const { return identifiers_; }
    const std::vector<SignalStats>& signals() const { return signals_; }
    uint64_t unknownFrames() const;

private:
    static uint64_t keyOf(RecordedMessage::Kind kind, uint8_t channel, uint32_t id, bool extended)
    {
        return uint64_t(kind) << 48 | uint64_t(channel) << 40 | uint64_t(extended) << 32 | id;
    }
    static void identify(const RecordedMessage& message, IdentifierStats& out);

    std::unordered_set<uint64_t> defined_;
    std::unordered_map<uint64_t, size_t> index_;
    std::vector<IdentifierStats> identifiers_;
    std::vector<SignalStats> signals_;
};

} // namespace rksignal
