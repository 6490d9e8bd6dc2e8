#include "decode/SlotPeek.h"

#include <sched.h>

#include <cerrno>

namespace rksignal {

SlotPeek::SlotPeek(BaseSignal& signal, SignalStorage& scratch) : signal_(signal), copy_(signal.def, false, &scratch)
{
}

int SlotPeek::lock(pthread_mutex_t& mutex, unsigned attempts, std::chrono::milliseconds patience)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (unsigned attempt = 1;; ++attempt) {
        const int result = pthread_mutex_trylock(&mutex);
        if (result != EBUSY)
            return result;
        if (attempt >= attempts || ((attempt & 63) == 0 && std::chrono::steady_clock::now() >= deadline))
            return EBUSY;
        sched_yield();
    }
}

SlotPeek::Outcome SlotPeek::peek(unsigned attempts, std::chrono::milliseconds patience)
{
    signalSlot_t& shared = *signal_.slot;
    const int locked = lock(shared.mutex, attempts, patience);
    if (locked == EBUSY)
        return Locked;
    // Any other failure means a mutex that cannot be taken at all; like the
    // library, read the slot unlocked rather than not at all.
    signalSlot_t& mine = *copy_.slot;
    mine.valid = shared.valid;
    mine.raw = shared.raw;
    mine.timestamp = shared.timestamp;
    if (locked == 0)
        pthread_mutex_unlock(&shared.mutex);
    if (!mine.valid)
        return NoValue;
    copy_.physical();
    return Value;
}

} // namespace rksignal
