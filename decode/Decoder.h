// Decoder: decodes recordings into rows, exactly as `rksignal decode` does:
// every definition becomes a signal object of the library, every recorded
// message goes through the decoder of its kind, every trigger is compiled
// once and evaluated after the messages that change the signals it reads.
//
// Pull-style: the caller asks for the next row, so that recordings of any
// size decode in bounded memory:
//
//   Decoder decoder(options);
//   if (!decoder.load({"vehicle.dbc"}, warnings, error)) ...
//   DecodedRow row;
//   while (decoder.next(row))
//       ...row.time, row.instance, row.value, row.unit, row.description
//
// or message by message, for callers that want the messages too:
//
//   while (decoder.decodeNext())                       // decoder.message() is the message
//       for (const DecodedRow& row : decoder.rows())   // the rows it gave
//           ...
//
// Rows come in the order of the tool's output: the signals written by a
// message (in the order the library reports them), the triggers that fired
// on it, then the time-outs noticed at it. Several recordings are merged in
// time-stamp order.
//
// The decoder builds its signals in a storage of its own, but the library's
// frame tables are process-wide: one Decoder or LiveValues at a time per
// process may hold signals (load() of another fails). Not thread-safe.
#pragma once

#include "decode/DecodeOptions.h"
#include "decode/DecodedRow.h"
#include "recordings/RecordedMessage.h"
#include "recordings/RecordingReport.h"

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace rksignal {

struct DefinitionSet;
class DecodeStats;

struct DecodeCounts {
    uint64_t frames = 0;            // messages read
    uint64_t framesWithSignals = 0; // messages that wrote at least one signal
    uint64_t writes = 0;            // signal values written
    uint64_t triggersFired = 0;
    uint64_t shortFrames = 0;     // frames too short for a signal of theirs, which got no value
    uint64_t transportErrors = 0; // J1939 multi-packet transfers that ended without a message
};

class Decoder {
public:
    // Lines about the recordings (bad lines and packets, files that cannot
    // be read) go to `messages`, each starting with "rksignal: ".
    explicit Decoder(DecodeOptions options, std::ostream& messages = std::cerr);
    ~Decoder();
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    // Reads the definition files (FILE.dbc, FILE.dbc@CHANNEL, FILE.json),
    // builds one signal per definition, selects the signals shown and
    // compiles the triggers. False, with one line (or, for a trigger, the
    // parser's lines) in `error`, when a channel map, a definition file or
    // a trigger is bad, or another decoder of the process holds signals:
    // nothing can be decoded then. Definitions read but
    // left out, and those the library rejects, are appended to `warnings`
    // (unless a file could not be read).
    bool load(const std::vector<std::string>& definitionFiles, std::vector<std::string>& warnings,
              std::string& error);
    // The same with definitions already read. Either load once per decoder.
    bool load(const DefinitionSet& definitions, std::vector<std::string>& warnings, std::string& error);

    // Opens the recordings; each that cannot be opened is reported and left
    // out, and report().failed() is then true. The first decodeNext() opens
    // them when the caller has not.
    void open();

    // Reads and decodes the next message; false at the end of the
    // recordings, or when nothing was loaded. Its rows replace those of the
    // message before.
    bool decodeNext();
    // The rows of the last message decoded, in order; valid (with the views
    // they hold) until the next decodeNext().
    const std::vector<DecodedRow>& rows() const;
    // The next of those rows not taken yet; false when there is none.
    bool takeRow(DecodedRow& row);
    // The next row, decoding as many messages as it takes; false at the end.
    bool next(DecodedRow& row);

    // The message of the last decodeNext() that returned true.
    const RecordedMessage& message() const;
    const DecodeCounts& counts() const;
    // The triggers (indexes in the order given) that fired on the last
    // message, whether or not rows are handed out, and their texts.
    const std::vector<size_t>& firedTriggers() const;
    const std::string& triggerExpression(size_t index) const;
    // The quality counts of the run with DecodeOptions::stats; null without.
    const DecodeStats* stats() const;
    const RecordingReport& report() const;
    // For a progress display: bytes of the recordings read so far, and
    // their size (0 when unknown, as for a pipe).
    uint64_t bytesConsumed() const;
    uint64_t totalBytes() const;
    // The longest instance name among the signals shown, for aligned columns.
    size_t longestShownInstance() const;
    // Whether rows may carry a J1939 source address (J1939 definitions loaded).
    bool hasSources() const;
    // The candump interface read (or mapped by a channel map) as `channel`
    // so far; empty when none is.
    std::string candumpInterface(uint8_t channel) const;

private:
    struct State; // the signals, triggers, recordings and rows of the run

    std::unique_ptr<State> state_;
};

} // namespace rksignal
