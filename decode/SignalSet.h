// SignalSet: the signal objects a decoder builds from its definitions, in a
// storage of their own, with what the output needs of each signal at hand
// by identifier.
//
// CAN signals that DBC or JSON mark as multiplexed are filed under no key of
// the library's frame table: CanFrames writes them when their branch is
// selected. The others are filed under their frame's key with and without the
// CAN FD flag: a frame is matched by identifier whatever format it declares
// (a received frame of more than eight bytes can only be CAN FD).
//
// Not thread-safe; one set per run.
#pragma once

#include "decode/CanFrames.h"
#include "definitions/DefinitionSet.h"

#include <map>
#include <unordered_map>
#include <memory>
#include <string>
#include <vector>

namespace rksignal {

class SignalSet {
public:
    struct Entry {
        BaseSignal* signal;
        std::string instance;
        std::string unit;
        bool shown = true;        // selected for output
        bool describes = false;   // has value descriptions (a table, or GPS's own)
        std::vector<uint16_t> triggers; // indexes of the triggers that read it
    };

    explicit SignalSet(bool sharedMemory = false);
    ~SignalSet();
    SignalSet(const SignalSet&) = delete;
    SignalSet& operator=(const SignalSet&) = delete;

    // Builds one signal per record. Definitions the library rejects, and
    // duplicate instance names, are reported in `problems` and left out.
    void build(const DefinitionSet& definitions, std::vector<std::string>& problems);

    SignalStorage& storage() { return storage_; }
    size_t size() const { return entries_.size(); }
    Entry& entry(size_t index) { return entries_[index]; }
    size_t indexOf(const Entry& entry) const { return size_t(&entry - entries_.data()); }

    // The entry of a registered identifier, or null.
    Entry* find(unsigned long id)
    {
        const unsigned long number = id & runningNumberMask;
        if (number < firstNumber_ || number - firstNumber_ >= byNumber_.size())
            return nullptr;
        const int32_t index = byNumber_[number - firstNumber_];
        return index < 0 ? nullptr : &entries_[size_t(index)];
    }

    // Shows only the instances that match one of the glob patterns (all when
    // there are none). A pattern "GLOB@SA" shows the rows of a J1939 signal
    // sent from source address SA (decimal) only: see shownFrom.
    void select(const std::vector<std::string>& patterns);
    // Whether the row of a signal not shown is shown all the same because
    // it came from J1939 source address `source`.
    bool shownFrom(const Entry& entry, uint8_t source);
    // True when `instance` matches one of the glob patterns, or there are none.
    static bool selected(const std::vector<std::string>& patterns, const std::string& instance);
    size_t longestShownInstance() const;
    CanFrames& canFrames() { return canFrames_; }
    // Whether a LIN frame of `bytes` data bytes lacks bits a signal filed
    // under its channel and identifier needs.
    bool linFrameShort(uint8_t channel, uint8_t protectedId, size_t bytes) const
    {
        const auto entry = linBytes_.find(uint16_t(channel << 8 | (protectedId & 63)));
        return entry != linBytes_.end() && bytes < entry->second;
    }

private:
    // Identifiers are a kind bit plus the running number; the kind bits
    // start at bit 55.
    static constexpr unsigned long runningNumberMask = (1UL << 55) - 1;

    template <class Signal, class Definition>
    void buildAll(const std::vector<Definition>& definitions, std::vector<std::string>& problems);
    void fileCan(const DefinitionSet& definitions, std::vector<std::string>& problems);
    void fileBranch(CANSignal& signal, const CanBranch* branch, const DefinitionSet& definitions,
                    std::vector<std::string>& problems);
    void index();

    bool sharedMemory_;
    SignalStorage storage_;
    std::vector<std::unique_ptr<BaseSignal>> signals_;
    std::vector<Entry> entries_;
    unsigned long firstNumber_ = 0;
    std::vector<int32_t> byNumber_;
    CanFrames canFrames_;
    std::unordered_map<uint16_t, unsigned> linBytes_; // channel and identifier -> bytes needed
    std::map<const CANSignal*, CanFrames::Realigned> realigned_; // while building
    std::vector<std::string> sourcePatterns_;
    std::string withSource_; // instance "@" source, matched against sourcePatterns_
};

} // namespace rksignal
