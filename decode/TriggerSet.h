// TriggerSet: the trigger expressions of a run, compiled once against the
// run's signals, and evaluated after the frames that change what they read.
#pragma once

#include "decode/SignalSet.h"
#include "expression/ExpParser.h"

#include <memory>
#include <string>
#include <vector>

namespace rksignal {

class TriggerSet {
public:
    // Compiles every expression against `signals`. False, with the parser's
    // error lines in `error`, when one does not parse or names a signal that
    // is not loaded.
    bool compile(const std::vector<std::string>& expressions, bool edge, SignalSet& signals, std::string& error);

    // Compiles one expression against `storage`. Null, with the parser's
    // error lines in `errorLines`, when it does not parse or names a signal
    // that the storage does not hold.
    static std::unique_ptr<ExpParser> compileOne(const std::string& text, bool edge, SignalStorage& storage,
                                                 std::string& errorLines);

    size_t size() const { return parsers_.size(); }
    ExpParser& parser(size_t index) { return *parsers_[index]; }
    const std::string& expression(size_t index) const { return parsers_[index]->expression; }

    // Marks the triggers that read a signal written just now.
    void touch(const SignalSet::Entry& entry)
    {
        for (uint16_t index : entry.triggers)
            if (!dirty_[index]) {
                dirty_[index] = 1;
                pending_.push_back(index);
            }
    }
    // Evaluates the marked triggers; calls `fired(index)` for each that fires.
    template <class Fired>
    void evaluate(Fired fired)
    {
        for (uint16_t index : pending_) {
            dirty_[index] = 0;
            if (parsers_[index]->getTrigger())
                fired(index);
        }
        pending_.clear();
    }

private:
    std::vector<std::unique_ptr<ExpParser>> parsers_;
    std::vector<uint8_t> dirty_;
    std::vector<uint16_t> pending_;
};

} // namespace rksignal
