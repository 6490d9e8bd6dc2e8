#include "decode/SignalSet.h"

#include "decode/SharedSegment.h"
#include "input/AnalogSignal.h"
#include "input/DigitalSignal.h"
#include "input/GPSSignal.h"
#include "input/KeyboardSignal.h"
#include "input/LoggerStatusSignal.h"
#include "signal/FrameTable.h"
#include "signal/MessageSink.h"

#include <fnmatch.h>

#include <algorithm>
#include <iostream>

namespace rksignal {

namespace {

constexpr unsigned long rejectedId = ~0UL;

// The library writes some of its lines to standard output, which carries
// the tool's rows; while signals are built and destroyed those go to
// standard error instead, through a stream of their own (so that their
// format flags and flushes touch neither std::cout nor std::cerr).
class LinesToStandardError : public MessageSink {
public:
    std::ostream& stream(MessageStream destination) override
    {
        return destination == MessageStream::Error ? std::cerr : output_;
    }

private:
    std::ostream output_{std::cerr.rdbuf()};
};

MessageSink& linesToStandardError()
{
    // Never destroyed: a signal set destroyed late at exit still finds it.
    static LinesToStandardError* const sink = new LinesToStandardError;
    return *sink;
}

} // namespace

SignalSet::SignalSet(bool sharedMemory) : sharedMemory_(sharedMemory) {}

SignalSet::~SignalSet()
{
    MessageSink::Scope toStandardError(linesToStandardError());
    // The tool's signals are all the signals of the process, so the
    // class-wide frame tables hold nothing else: emptying them first spares
    // each destructor its walk over every entry (quadratic for thousands of
    // signals, as a large DBC gives).
    CANSignal::canContainer.clear();
    LINSignal::linContainer.clear();
    FlexRaySignal::flexrayFrames.clear();
    EthernetSignal::ethernetFrames.clear();
    EthernetSignal::positiveList.clear();
    EthernetSignal::negativeList.clear();
    InputSignal::inputContainer.clear();
    // Children and mirrors go with their parents; the newest first, so that
    // nothing outlives what it refers to.
    while (!signals_.empty())
        signals_.pop_back();
}

template <class Signal, class Definition>
void SignalSet::buildAll(const std::vector<Definition>& definitions, std::vector<std::string>& problems)
{
    for (const Definition& definition : definitions) {
        if (storage_.instancesByName.count(definition.instance)) {
            problems.push_back(definition.instance + ": instance name used twice; the second one is left out");
            continue;
        }
        std::unique_ptr<Signal> signal;
        if constexpr (std::is_same_v<Signal, CANSignal>) {
            // The tool selects branches itself (fileCan): the library's
            // second stage would only look up keys the tool never files.
            Definition plain;
            const CanFrames::Realigned realigned = CanFrames::realign(definition, plain);
            plain.multiplexer = 0;
            signal = std::make_unique<Signal>(plain, sharedMemory_, &storage_);
            if (realigned.on)
                realigned_.emplace(signal.get(), realigned);
        } else {
            signal = std::make_unique<Signal>(definition, sharedMemory_, &storage_);
        }
        if (signal->id == rejectedId) {
            // Not even a reader that only detaches leaves its segment behind.
            SharedSegment::removeIfOnlyEverOurs(signal->shmId);
            problems.push_back(definition.instance + ": definition rejected by the library (field too wide for "
                               "its frame or byte range, or unknown predefined name); not decoded");
            continue;
        }
        if constexpr (std::is_same_v<Signal, LINSignal>) {
            unsigned& needed = linBytes_[uint16_t(definition.channel << 8 | (definition.msgId & 63))];
            needed = std::max(needed, signal->fieldBytes());
        }
        signals_.push_back(std::move(signal));
    }
}

void SignalSet::fileCan(const DefinitionSet& definitions, std::vector<std::string>& problems)
{
    std::map<std::string_view, const CanBranch*> branches;
    for (const CanBranch& branch : definitions.canBranches)
        branches.emplace(branch.instance, &branch);
    using Frames = FrameTable<uint64_t, CANSignal>;
    for (const auto& owned : signals_) {
        CANSignal* signal = dynamic_cast<CANSignal*>(owned.get());
        if (signal == nullptr)
            continue;
        const canSignalDef_t& def = signal->definition;
        const uint64_t frameKey = CANSignal::canKey(def.tslId, def.channel, def.msgId, def.extended, def.canFD);
        const auto realigned = realigned_.find(signal);
        if (def.multiplexed || realigned != realigned_.end())
            Frames::removeFirst(CANSignal::canContainer, frameKey, signal);
        if (!def.multiplexed && realigned != realigned_.end()) {
            canFrames_.addBranch(*signal, nullptr, {}, realigned->second);
            continue;
        }
        if (def.multiplexed) {
            const auto branch = branches.find(def.instance);
            fileBranch(*signal, branch == branches.end() ? nullptr : branch->second, definitions, problems);
            continue;
        }
        Frames::append(CANSignal::canContainer,
                       CANSignal::canKey(def.tslId, def.channel, def.msgId, def.extended, !def.canFD), signal);
        canFrames_.addPlain(*signal);
    }
    canFrames_.finish();
}

// A branch without a record is selected by the frame's first multiplexer
// taking the signal's mux value.
void SignalSet::fileBranch(CANSignal& signal, const CanBranch* branch, const DefinitionSet& definitions,
                           std::vector<std::string>& problems)
{
    const canSignalDef_t& def = signal.definition;
    const std::string* multiplexerName = branch ? &branch->multiplexer : nullptr;
    for (size_t i = 0; multiplexerName == nullptr && i < definitions.can.size(); ++i) {
        const canSignalDef_t& other = definitions.can[i];
        if (other.multiplexer && !other.multiplexed && other.channel == def.channel && other.msgId == def.msgId &&
            other.extended == def.extended)
            multiplexerName = &other.instance;
    }
    CANSignal* multiplexer = nullptr;
    if (multiplexerName) {
        const auto found = storage_.instancesByName.find(*multiplexerName);
        if (found != storage_.instancesByName.end())
            multiplexer = dynamic_cast<CANSignal*>(found->second);
    }
    if (multiplexer == nullptr) {
        problems.push_back(def.instance + ": multiplexed, but its frame has no multiplexer; not decoded");
        return;
    }
    const auto realigned = realigned_.find(&signal);
    canFrames_.addBranch(signal, multiplexer,
                         branch ? branch->ranges : CanFrames::Ranges{{uint64_t(def.mux), uint64_t(def.mux)}},
                         realigned == realigned_.end() ? CanFrames::Realigned{} : realigned->second);
}

void SignalSet::build(const DefinitionSet& definitions, std::vector<std::string>& problems)
{
    MessageSink::Scope toStandardError(linesToStandardError());
    buildAll<CANSignal>(definitions.can, problems);
    fileCan(definitions, problems);
    buildAll<LINSignal>(definitions.lin, problems);
    buildAll<FlexRaySignal>(definitions.flexRay, problems);
    buildAll<EthernetSignal>(definitions.ethernet, problems);
    buildAll<DigitalSignal>(definitions.digital, problems);
    buildAll<AnalogSignal>(definitions.analog, problems);
    buildAll<KeyboardSignal>(definitions.keyboard, problems);
    buildAll<LoggerStatusSignal>(definitions.loggerStatus, problems);
    buildAll<GPSSignal>(definitions.gps, problems);
    index();
}

void SignalSet::index()
{
    entries_.clear();
    byNumber_.clear();
    if (signals_.empty())
        return;
    unsigned long lowest = ~0UL, highest = 0;
    for (const auto& signal : signals_) {
        lowest = std::min(lowest, signal->id & runningNumberMask);
        highest = std::max(highest, signal->id & runningNumberMask);
    }
    firstNumber_ = lowest;
    byNumber_.assign(highest - lowest + 1, -1);
    for (const auto& signal : signals_) {
        byNumber_[(signal->id & runningNumberMask) - lowest] = int32_t(entries_.size());
        // GPS signals describe time, date and position by their own rule.
        const bool describes =
            !signal->def.valueDescription.empty() || dynamic_cast<const GPSSignal*>(signal.get()) != nullptr;
        entries_.push_back(Entry{signal.get(), signal->def.instance, signal->def.unit, true, describes, {}});
    }
}

void SignalSet::select(const std::vector<std::string>& patterns)
{
    std::vector<std::string> plain;
    sourcePatterns_.clear();
    for (const std::string& pattern : patterns)
        (pattern.find('@') == std::string::npos ? plain : sourcePatterns_).push_back(pattern);
    for (Entry& entry : entries_)
        entry.shown = (plain.empty() && !sourcePatterns_.empty()) ? false : selected(plain, entry.instance);
}

bool SignalSet::shownFrom(const Entry& entry, uint8_t source)
{
    if (sourcePatterns_.empty())
        return false;
    withSource_.assign(entry.instance);
    withSource_ += '@';
    withSource_ += std::to_string(source); // short: no allocation
    for (const std::string& pattern : sourcePatterns_)
        if (fnmatch(pattern.c_str(), withSource_.c_str(), 0) == 0)
            return true;
    return false;
}

bool SignalSet::selected(const std::vector<std::string>& patterns, const std::string& instance)
{
    if (patterns.empty())
        return true;
    for (const std::string& pattern : patterns)
        if (fnmatch(pattern.c_str(), instance.c_str(), 0) == 0)
            return true;
    return false;
}

size_t SignalSet::longestShownInstance() const
{
    size_t longest = 0;
    for (const Entry& entry : entries_)
        if (entry.shown)
            longest = std::max(longest, entry.instance.size());
    return longest;
}

} // namespace rksignal
