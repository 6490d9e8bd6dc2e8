// LiveValues: the values that other processes (a logger, `rksignal decode
// --shm`) keep in shared memory for the signals of some definitions, read
// as a guest:
//
//   LiveValues live;
//   live.attach(definitions, warnings);
//   for (const LiveValue& value : live.read()) ...
//
// It builds the signals with shared memory, as every process of the logger
// does, but never disturbs the writers: it sets BaseSignal::detachOnly, so it
// never removes a writer's segments; it reads every slot with a bounded wait
// (SlotPeek), so a slot left locked by a writer that died is reported instead
// of hanging the reader; and on detach it removes only the segments it
// created itself and that no other process ever attached to.
//
// The signals live in a storage of their own, but the library's frame
// tables are process-wide: one Decoder or LiveValues at a time per process
// may hold signals. Not thread-safe.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace rksignal {

struct DefinitionSet;

struct LiveValue {
    enum State {
        Valid,   // a value
        NoValue, // nothing written yet, or cleared
        Locked,  // the slot's lock stayed taken through the bounded wait: its writer probably died holding it
        Ended,   // the writer removed the segment when it finished; the last value, if any, is kept
    };

    std::string_view instance;
    std::string_view unit;
    State state = NoValue;
    bool hasValue = false; // value, timestamp and description were read (Valid, or Ended with a value)
    double value = 0;      // physical value
    uint64_t timestamp = 0; // the writer's time stamp: microseconds, the recording's time
    std::string description; // for signals with a value table
};

class LiveValues {
public:
    LiveValues();
    ~LiveValues();
    LiveValues(const LiveValues&) = delete;
    LiveValues& operator=(const LiveValues&) = delete;

    // Builds the signals of `definitions` and attaches to their segments,
    // creating those that no writer has created yet (so that a writer
    // starting later finds them). Definitions the library rejects are
    // appended to `warnings` and left out. False, with the reason in
    // `error`, when another Decoder or LiveValues of the process holds
    // signals.
    bool attach(const DefinitionSet& definitions, std::vector<std::string>& warnings, std::string& error);
    // Lets go of every segment; removes those that only this reader used.
    void detach();
    // The number of signals attached.
    size_t size() const;

    // Reads every slot, in definition order. The views into the values stay
    // valid until the next read() or detach().
    const std::vector<LiveValue>& read();
    // After read(): the newest time stamp read (0 when none), and whether a
    // writer whose segments ended has been followed by a new one: detach()
    // and attach() again to follow it.
    uint64_t newest() const;
    bool writerReplaced() const;

private:
    struct State; // the signals, their peeks and the values read

    std::unique_ptr<State> state_;
};

} // namespace rksignal
