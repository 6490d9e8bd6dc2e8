#include "decode/LiveValues.h"

#include "decode/FrameTableClaim.h"
#include "decode/SharedSegment.h"
#include "decode/SignalSet.h"
#include "decode/SlotPeek.h"

#include <deque>

namespace rksignal {

struct LiveValues::State {
    FrameTableClaim claim; // released after the signals are gone
    SignalStorage scratch; // the peeks' private copies
    std::unique_ptr<SignalSet> signals;
    std::deque<SlotPeek> peeks; // after the signals: destroyed before them
    std::vector<SlotPeek::Outcome> outcomes;
    std::vector<LiveValue> values;
    uint64_t newest = 0;
    bool writerReplaced = false;

    LiveValue valueOf(SlotPeek& peek, SlotPeek::Outcome outcome);
};

LiveValue LiveValues::State::valueOf(SlotPeek& peek, SlotPeek::Outcome outcome)
{
    BaseSignal& signal = peek.signal();
    LiveValue value;
    value.instance = signal.def.instance;
    value.unit = signal.def.unit;
    if (outcome == SlotPeek::Locked) {
        value.state = LiveValue::Locked;
        return value;
    }
    if (outcome == SlotPeek::Value) {
        value.hasValue = true;
        value.value = peek.value();
        value.timestamp = peek.timestamp();
        if (!signal.def.valueDescription.empty())
            value.description = peek.description();
    }
    const bool ended = signal.shmId >= 0 && SharedSegment::removed(signal.shmId);
    if (ended && SharedSegment::replaced(signal.key, signal.shmId))
        writerReplaced = true;
    if (ended)
        value.state = LiveValue::Ended;
    else
        value.state = outcome == SlotPeek::Value ? LiveValue::Valid : LiveValue::NoValue;
    return value;
}

LiveValues::LiveValues() : state_(std::make_unique<State>()) {}

LiveValues::~LiveValues()
{
    detach();
}

bool LiveValues::attach(const DefinitionSet& definitions, std::vector<std::string>& warnings, std::string& error)
{
    detach();
    if (!state_->claim.take()) {
        error = FrameTableClaim::refused;
        return false;
    }
    BaseSignal::detachOnly = true;
    state_->signals = std::make_unique<SignalSet>(true);
    state_->signals->build(definitions, warnings);
    for (size_t index = 0; index < state_->signals->size(); ++index)
        state_->peeks.emplace_back(*state_->signals->entry(index).signal, state_->scratch);
    return true;
}

void LiveValues::detach()
{
    for (SlotPeek& peek : state_->peeks)
        SharedSegment::removeIfOnlyEverOurs(peek.signal().shmId);
    state_->values.clear();
    state_->peeks.clear();
    state_->signals.reset();
    state_->claim.release();
}

size_t LiveValues::size() const
{
    return state_->peeks.size();
}

const std::vector<LiveValue>& LiveValues::read()
{
    State& state = *state_;
    // Every slot before any segment's state, so that the values form one
    // snapshot as nearly as the slots allow.
    state.outcomes.clear();
    state.newest = 0;
    for (SlotPeek& peek : state.peeks) {
        state.outcomes.push_back(peek.peek());
        if (state.outcomes.back() == SlotPeek::Value && peek.timestamp() > state.newest)
            state.newest = peek.timestamp();
    }
    state.writerReplaced = false;
    state.values.clear();
    for (size_t index = 0; index < state.peeks.size(); ++index)
        state.values.push_back(state.valueOf(state.peeks[index], state.outcomes[index]));
    return state.values;
}

uint64_t LiveValues::newest() const
{
    return state_->newest;
}

bool LiveValues::writerReplaced() const
{
    return state_->writerReplaced;
}

} // namespace rksignal
