// SlotPeek: reads a signal's value slot without waiting on it for ever.
//
// The library's own read polls the slot mutex with no limit, so a writer
// that died while holding it would hang a reader for good. A watcher must
// stay responsive and say so instead: SlotPeek tries the mutex a bounded
// number of times, yielding in between (the same polling the library does,
// since the mutex is not process-shared), and then gives up with Locked. What
// it reads is copied into a private copy of the signal, whose physical()
// scales it exactly as the library does for the signal itself.
//
// Thread safety: one thread per peek object; the shared slot is touched only
// under its mutex, as writers do.
#pragma once

#include "signal/BaseSignal.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace rksignal {

class SlotPeek {
public:
    enum Outcome { Value, NoValue, Locked };

    // Attempts and time a peek spends on a busy mutex before giving up.
    static constexpr unsigned defaultAttempts = 100000;
    static constexpr std::chrono::milliseconds defaultPatience{100};

    // `signal` must outlive the peek. The private copy is registered in
    // `scratch`, never in the signal's own storage.
    SlotPeek(BaseSignal& signal, SignalStorage& scratch);

    // Copies validity, raw value and time stamp out of the slot; Locked when
    // the mutex stayed busy for `attempts` tries or `patience`, whichever
    // comes first.
    Outcome peek(unsigned attempts = defaultAttempts, std::chrono::milliseconds patience = defaultPatience);

    // What the last successful peek copied.
    double value() const { return copy_.value; }
    uint64_t raw() const { return copy_.slot->raw; }
    uint64_t timestamp() const { return copy_.slot->timestamp; }
    std::string description() const { return copy_.getValueDescription(copy_.slot->raw); }

    BaseSignal& signal() { return signal_; }

private:
    // pthread_mutex_trylock's result: 0 locked, EBUSY when it stayed busy.
    static int lock(pthread_mutex_t& mutex, unsigned attempts, std::chrono::milliseconds patience);

    BaseSignal& signal_;
    BaseSignal copy_;
};

} // namespace rksignal
