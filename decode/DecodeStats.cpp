#include "decode/DecodeStats.h"

#include "definitions/DefinitionSet.h"
#include "trace/MIITraceMessage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace rksignal {

namespace {

// Kinds whose definitions do not name a frame identifier of their own: any
// definition of the kind makes all their messages known.
constexpr uint32_t anyId = UINT32_MAX;

} // namespace

double IdentifierStats::meanRate() const
{
    if (frames < 2 || last <= first)
        return 0;
    return double(frames - 1) / (double(last - first) / 1e6);
}

const char* IdentifierStats::bus() const
{
    static const char* const names[] = {"CAN",    "LIN",  "FlexRay",  "Ethernet", "GPS",
                                        "Digital", "Analog", "Keyboard", "System",   "System"};
    return kind < sizeof names / sizeof *names ? names[kind] : "?";
}

std::string IdentifierStats::idText() const
{
    char text[16] = "";
    if (kind == RecordedMessage::Can)
        std::snprintf(text, sizeof text, extended ? "%08X" : "%03X", unsigned(id));
    else if (kind == RecordedMessage::Lin || kind == RecordedMessage::FlexRay || kind == RecordedMessage::Ethernet)
        std::snprintf(text, sizeof text, "%u", unsigned(id));
    return text;
}

void DecodeStats::setUp(const DefinitionSet& definitions, std::vector<std::string> instances)
{
    for (const canSignalDef_t& def : definitions.can)
        defined_.insert(keyOf(RecordedMessage::Can, def.channel, def.msgId, def.extended));
    for (const linSignalDef_t& def : definitions.lin)
        defined_.insert(keyOf(RecordedMessage::Lin, def.channel, def.msgId & 0x3f, false));
    for (const flexRaySignalDef_t& def : definitions.flexRay)
        for (const flexRayPosition_t& position : def.positions)
            defined_.insert(keyOf(RecordedMessage::FlexRay, def.channel, position.slot, false));
    const std::pair<RecordedMessage::Kind, bool> byKind[] = {
        {RecordedMessage::Ethernet, !definitions.ethernet.empty()},
        {RecordedMessage::Gps, !definitions.gps.empty()},
        {RecordedMessage::Gpio, !definitions.digital.empty()},
        {RecordedMessage::Analog, !definitions.analog.empty()},
        {RecordedMessage::Keyboard, !definitions.keyboard.empty()},
        {RecordedMessage::System, !definitions.loggerStatus.empty()},
        {RecordedMessage::SystemUsage, !definitions.loggerStatus.empty()},
    };
    for (const auto& [kind, any] : byKind)
        if (any)
            defined_.insert(keyOf(kind, 0, anyId, false));
    signals_.resize(instances.size());
    for (size_t index = 0; index < instances.size(); ++index)
        signals_[index].instance = std::move(instances[index]);
}

void DecodeStats::identify(const RecordedMessage& message, IdentifierStats& out)
{
    out.kind = message.kind;
    switch (message.kind) {
    case RecordedMessage::Can:
        out.channel = message.can.channel;
        out.id = message.can.canId;
        out.extended = message.can.frameFormat & 1;
        break;
    case RecordedMessage::Lin:
        out.channel = message.lin.channel;
        out.id = message.lin.protectedId & 0x3f;
        break;
    case RecordedMessage::FlexRay:
        out.channel = message.flexRay.channel;
        out.id = message.flexRay.slot;
        break;
    case RecordedMessage::Ethernet: {
        out.channel = message.ethernet.channel;
        miiFrameInfo_t info{};
        const auto& frame = message.ethernet.frame;
        if (!frame.empty() && MIITraceMessage::analyzeFrame(frame.data(), frame.size(), info))
            out.id = info.destinationPort;
        break;
    }
    case RecordedMessage::Gpio:
    case RecordedMessage::Analog:
        out.channel = message.inputModule;
        break;
    default:
        break;
    }
}

IdentifierStats& DecodeStats::frame(const RecordedMessage& message, bool wroteSignals)
{
    IdentifierStats seen;
    identify(message, seen);
    const uint64_t key = keyOf(seen.kind, seen.channel, seen.id, seen.extended);
    auto found = index_.find(key);
    if (found == index_.end()) {
        seen.known = defined_.count(key) || defined_.count(keyOf(seen.kind, 0, anyId, false));
        seen.first = seen.last = message.timestamp();
        found = index_.emplace(key, identifiers_.size()).first;
        identifiers_.push_back(seen);
    }
    IdentifierStats& stats = identifiers_[found->second];
    const uint64_t time = message.timestamp();
    if (stats.frames > 0 && time > stats.last)
        stats.largestGap = std::max(stats.largestGap, time - stats.last);
    stats.first = std::min(stats.first, time);
    stats.last = std::max(stats.last, time);
    ++stats.frames;
    stats.known = stats.known || wroteSignals;
    return stats;
}

void DecodeStats::written(size_t index, double value, uint64_t time, bool changed)
{
    if (index >= signals_.size())
        return;
    SignalStats& stats = signals_[index];
    // A NaN taken first (a float signal) gives way to the first number.
    if (stats.writes == 0 || value < stats.minimum || std::isnan(stats.minimum))
        stats.minimum = value;
    if (stats.writes == 0 || value > stats.maximum || std::isnan(stats.maximum))
        stats.maximum = value;
    ++stats.writes;
    stats.changes += changed;
    stats.lastTime = std::max(stats.lastTime, time);
}

uint64_t DecodeStats::unknownFrames() const
{
    uint64_t frames = 0;
    for (const IdentifierStats& stats : identifiers_)
        if (!stats.known)
            frames += stats.frames;
    return frames;
}

} // namespace rksignal
