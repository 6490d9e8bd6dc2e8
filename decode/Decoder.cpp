#include "decode/Decoder.h"

#include "bus/EthernetSignal.h"
#include "decode/DecodeStats.h"
#include "decode/FrameTableClaim.h"
#include "decode/J1939Matcher.h"
#include "decode/J1939Transport.h"
#include "decode/ReplayPacer.h"
#include "decode/SignalSet.h"
#include "decode/TriggerSet.h"
#include "definitions/DefinitionFiles.h"
#include "input/GPSSignal.h"
#include "recordings/RecordingFiles.h"

#include <algorithm>
#include <set>

namespace rksignal {

struct Decoder::State {
    State(DecodeOptions options, std::ostream& messages)
        : options(std::move(options)), pacer(this->options.speed, this->options.beforeWaiting), report(messages),
          files(report)
    {
        ids.reserve(256);
    }

    bool mapChannels(std::string& error);
    bool build(const DefinitionSet& definitions, std::vector<std::string>& warnings, std::string& error);
    void decode(const RecordedMessage& message);
    void count(const RecordedMessage& message, bool wroteSignals, uint64_t shortFrames, uint64_t transportErrors);
    bool decodeFrame(const RecordedMessage& message);
    bool decodeCan(const CANExtTraceMessage& frame);
    void decodeTransported(const CANExtTraceMessage& frame);
    void signalRow(SignalSet::Entry& entry);
    void triggerRow(size_t trigger);
    void checkTimeouts(uint64_t now);
    DecodedRow& addRow(DecodedRow::Kind kind, uint64_t time);
    void pointAtDescriptions();

    const DecodeOptions options;
    FrameTableClaim claim; // released after the signals are gone
    // Built once the claim is taken: even an empty set empties the frame
    // tables when it ends.
    std::unique_ptr<SignalSet> signals;
    TriggerSet triggers; // after the signals: destroyed before them
    ReplayPacer pacer;
    RecordingReport report;
    RecordingFiles files;                         // after the report it writes to
    std::unique_ptr<RecordingReader> recordings;  // after the files: destroyed before them
    bool opened = false;
    const RecordedMessage* message = nullptr;
    DecodeCounts counts;
    std::unique_ptr<DecodeStats> stats; // with options.stats
    std::vector<size_t> fired;          // the triggers that fired on the last message
    unsigned unbranched = 0;            // multiplexer values of the last message without a branch (with stats)
    std::vector<unsigned long> ids;
    std::vector<unsigned long> transportedIds;
    J1939Matcher j1939;
    J1939Transport transport;
    CANExtTraceMessage renamed;     // a J1939 frame under its definition's identifier
    CANExtTraceMessage transported; // a reassembled J1939 transfer
    int source = -1;                // of the message decoded last
    std::vector<unsigned long> staleIds;
    std::set<unsigned long> stale;
    uint64_t nextTimeoutCheck = 0;
    // The rows of the last message. The value descriptions of its rows live
    // beside them (the first `described` strings, each keeping its capacity
    // from message to message, for rows[describedRows[i]]); the rows' views
    // are pointed at them once the message is decoded.
    std::vector<DecodedRow> rows;
    std::vector<std::string> descriptions;
    std::vector<size_t> describedRows;
    size_t described = 0;
    size_t nextRow = 0;
};

bool Decoder::State::mapChannels(std::string& error)
{
    for (const std::string& map : options.channelMaps) {
        std::string name;
        uint8_t channel = 0;
        if (!RecordingFiles::parseChannelMap(map, name, channel)) {
            error = "--channel " + map + ": expected IFACE=N with N from 0 to 255";
            return false;
        }
        files.mapChannel(name, channel, options.recordings);
    }
    return true;
}

bool Decoder::State::build(const DefinitionSet& definitions, std::vector<std::string>& warnings,
                           std::string& error)
{
    if (!claim.take()) {
        error = FrameTableClaim::refused;
        return false;
    }
    files.useFlexRaySegments(definitions);
    signals = std::make_unique<SignalSet>(options.sharedMemory);
    signals->build(definitions, warnings);
    for (const J1939Frame& frame : definitions.j1939)
        j1939.add(frame.channel, frame.msgId);
    signals->select(options.signalPatterns);
    if (options.stats) {
        std::vector<std::string> instances;
        for (size_t index = 0; index < signals->size(); ++index)
            instances.push_back(signals->entry(index).instance);
        stats = std::make_unique<DecodeStats>();
        stats->setUp(definitions, std::move(instances));
    }
    if (!triggers.compile(options.triggers, options.edge, *signals, error))
        return false;
    fired.reserve(triggers.size());
    return true;
}

// Every kind of message takes this one path: its decoder, then the rows of
// the signals written, the triggers that read them and the time-outs.
void Decoder::State::decode(const RecordedMessage& message)
{
    pacer.pace(message.timestamp());
    ++counts.frames;
    fired.clear();
    const uint64_t shortBefore = counts.shortFrames, transportBefore = counts.transportErrors;
    unbranched = 0;
    const bool wroteSignals = decodeFrame(message);
    if (stats)
        count(message, wroteSignals, counts.shortFrames - shortBefore, counts.transportErrors - transportBefore);
    if (!wroteSignals)
        return;
    ++counts.framesWithSignals;
    counts.writes += ids.size();
    for (unsigned long id : ids) {
        SignalSet::Entry* entry = signals->find(id);
        if (entry == nullptr)
            continue;
        const bool shown = entry->shown || (source >= 0 && signals->shownFrom(*entry, uint8_t(source)));
        if (options.rows && shown && (options.allWrites || entry->signal->isModified()))
            signalRow(*entry);
        triggers.touch(*entry);
        if (options.timeoutMs)
            stale.erase(id);
    }
    triggers.evaluate([this](size_t index) {
        ++counts.triggersFired;
        fired.push_back(index);
        if (options.rows)
            triggerRow(index);
    });
    if (options.timeoutMs && message.timestamp() >= nextTimeoutCheck)
        checkTimeouts(message.timestamp());
}

bool Decoder::State::decodeFrame(const RecordedMessage& message)
{
    source = -1;
    if (message.kind == RecordedMessage::Can)
        return decodeCan(message.can);
    if (message.kind == RecordedMessage::Lin && BaseSignal::onlyReceivedBits &&
        signals->linFrameShort(message.lin.channel, message.lin.protectedId, message.lin.data.size()))
        ++counts.shortFrames;
    return message.decode(ids, signals->storage());
}

// A J1939 frame is decoded under the identifier of its definition: its own
// when one has it, else that of the first J1939 definition of its PGN.
bool Decoder::State::decodeCan(const CANExtTraceMessage& frame)
{
    const CANExtTraceMessage* decoded = &frame;
    const bool extended = frame.frameFormat == 1 || frame.frameFormat == 3;
    const bool j1939Frame = extended && !j1939.empty();
    if (j1939Frame) {
        uint32_t msgId = 0;
        if (j1939.exact(frame.channel, frame.canId)) {
            source = J1939Matcher::sourceOf(frame.canId);
        } else if (!signals->canFrames().known(frame.channel, frame.canId, true) &&
                   j1939.byPgn(frame.channel, J1939Matcher::pgnOf(frame.canId), msgId)) {
            source = J1939Matcher::sourceOf(frame.canId);
            renamed = frame;
            renamed.canId = msgId;
            decoded = &renamed;
        }
    }
    CANSignal::decodeMessage(*decoded, ids, 0, &signals->storage());
    if (signals->canFrames().complete(*decoded, ids, stats ? &unbranched : nullptr))
        ++counts.shortFrames;
    if (j1939Frame && transport.feed(frame, transported))
        decodeTransported(frame);
    counts.transportErrors = transport.errors();
    return !ids.empty();
}

// The rows of a reassembled transfer follow those of its last packet.
void Decoder::State::decodeTransported(const CANExtTraceMessage& frame)
{
    uint32_t msgId = 0;
    if (!j1939.byPgn(transported.channel, J1939Matcher::pgnOf(transported.canId), msgId))
        return;
    transported.canId = msgId;
    CANSignal::decodeMessage(transported, transportedIds, 0, &signals->storage());
    if (signals->canFrames().complete(transported, transportedIds, stats ? &unbranched : nullptr))
        ++counts.shortFrames;
    if (transportedIds.empty())
        return;
    source = J1939Matcher::sourceOf(frame.canId);
    ids.insert(ids.end(), transportedIds.begin(), transportedIds.end());
}

// The counts of a message: its identifier's (what the decoder counted while
// decoding it), and those of the signals it wrote.
void Decoder::State::count(const RecordedMessage& message, bool wroteSignals, uint64_t shortFrames,
                           uint64_t transportErrors)
{
    IdentifierStats& frame = stats->frame(message, wroteSignals);
    frame.shortFrames += shortFrames;
    frame.transportErrors += transportErrors;
    frame.muxWithoutBranch += unbranched;
    if (!wroteSignals)
        return;
    for (unsigned long id : ids) {
        SignalSet::Entry* entry = signals->find(id);
        if (entry == nullptr)
            continue;
        double value = 0;
        unsigned long timestamp = 0;
        entry->signal->read(value, timestamp);
        stats->written(signals->indexOf(*entry), value, timestamp, entry->signal->isModified());
    }
}

DecodedRow& Decoder::State::addRow(DecodedRow::Kind kind, uint64_t time)
{
    DecodedRow& row = rows.emplace_back();
    row.kind = kind;
    row.time = time;
    return row;
}

void Decoder::State::pointAtDescriptions()
{
    for (size_t index = 0; index < described; ++index)
        rows[describedRows[index]].description = descriptions[index];
}

void Decoder::State::signalRow(SignalSet::Entry& entry)
{
    double value = 0;
    unsigned long timestamp = 0;
    entry.signal->read(value, timestamp);
    DecodedRow& row = addRow(DecodedRow::Signal, timestamp);
    row.instance = entry.instance;
    row.value = value;
    row.unit = entry.unit;
    row.source = source;
    if (!entry.describes)
        return;
    if (described == descriptions.size()) {
        descriptions.emplace_back();
        describedRows.emplace_back();
    }
    descriptions[described] = entry.signal->getValueDescription(entry.signal->slot->raw);
    describedRows[described++] = rows.size() - 1;
}

void Decoder::State::triggerRow(size_t trigger)
{
    addRow(DecodedRow::Trigger, triggers.parser(trigger).getLastestTime()).expression = triggers.expression(trigger);
}

// Signals whose newest value is older than the time-out, each reported once
// until it is written again.
void Decoder::State::checkTimeouts(uint64_t now)
{
    const uint64_t timeout = options.timeoutMs * 1000u;
    nextTimeoutCheck = now + std::max<uint64_t>(timeout / 4, 1000);
    if (now < timeout)
        return;
    BaseSignal::checkTimeout(now - timeout, staleIds, &signals->storage());
    for (unsigned long id : staleIds) {
        if (!stale.insert(id).second)
            continue;
        const SignalSet::Entry* entry = signals->find(id);
        if (options.rows && entry && entry->shown)
            addRow(DecodedRow::Timeout, now).instance = entry->instance;
    }
}

Decoder::Decoder(DecodeOptions options, std::ostream& messages)
    : state_(std::make_unique<State>(std::move(options), messages))
{
    // A writer removes its segments when it ends, unless asked to leave the
    // last values for readers that come later.
    BaseSignal::detachOnly = state_->options.keepSegments;
    EthernetSignal::containerFraming =
        state_->options.loggerFraming ? EthernetSignal::LoggerFraming : EthernetSignal::ProtocolFraming;
    // An NMEA field left empty is no value, not 0.
    GPSSignal::skipEmptyFields = true;
    BaseSignal::onlyReceivedBits = !state_->options.zeroFillShortFrames;
}

Decoder::~Decoder() = default;

bool Decoder::load(const std::vector<std::string>& definitionFiles, std::vector<std::string>& warnings,
                   std::string& error)
{
    if (!state_->mapChannels(error))
        return false;
    DefinitionSet definitions;
    std::vector<std::string> read;
    if (!DefinitionFiles::read(definitionFiles, definitions, read, error))
        return false;
    warnings.insert(warnings.end(), read.begin(), read.end());
    return state_->build(definitions, warnings, error);
}

bool Decoder::load(const DefinitionSet& definitions, std::vector<std::string>& warnings, std::string& error)
{
    return state_->mapChannels(error) && state_->build(definitions, warnings, error);
}

void Decoder::open()
{
    if (state_->opened)
        return;
    state_->opened = true;
    state_->recordings = state_->files.openAll(state_->options.recordings);
}

bool Decoder::decodeNext()
{
    State& state = *state_;
    state.rows.clear();
    state.described = 0;
    state.nextRow = 0;
    if (!state.signals) // not loaded
        return false;
    open();
    if (!state.recordings || !state.recordings->next())
        return false;
    state.message = &state.recordings->message();
    state.decode(*state.message);
    state.pointAtDescriptions();
    return true;
}

const std::vector<DecodedRow>& Decoder::rows() const
{
    return state_->rows;
}

bool Decoder::takeRow(DecodedRow& row)
{
    State& state = *state_;
    if (state.nextRow == state.rows.size())
        return false;
    row = state.rows[state.nextRow++];
    return true;
}

bool Decoder::next(DecodedRow& row)
{
    while (!takeRow(row))
        if (!decodeNext())
            return false;
    return true;
}

const RecordedMessage& Decoder::message() const
{
    return *state_->message;
}

const DecodeCounts& Decoder::counts() const
{
    return state_->counts;
}

const std::vector<size_t>& Decoder::firedTriggers() const
{
    return state_->fired;
}

const std::string& Decoder::triggerExpression(size_t index) const
{
    return state_->triggers.expression(index);
}

const DecodeStats* Decoder::stats() const
{
    return state_->stats.get();
}

const RecordingReport& Decoder::report() const
{
    return state_->report;
}

uint64_t Decoder::bytesConsumed() const
{
    return state_->recordings ? state_->recordings->bytesConsumed() : 0;
}

uint64_t Decoder::totalBytes() const
{
    return state_->recordings ? state_->recordings->fileSize() : 0;
}

bool Decoder::hasSources() const
{
    return !state_->j1939.empty();
}

std::string Decoder::candumpInterface(uint8_t channel) const
{
    return state_->files.candumpInterface(channel);
}

size_t Decoder::longestShownInstance() const
{
    return state_->signals ? state_->signals->longestShownInstance() : 0;
}

} // namespace rksignal
