// SharedSegment: what the system says about a signal's shared-memory segment,
// for a reader that follows writers it does not control.
//
// A writer removes its segments when it ends (BaseSignal::detachOnly false).
// Attached readers keep the last values, but the key then names no segment,
// and the next writer gets a new one. A reader that notices both can let go
// of the old segments and attach to the new ones.
//
// Stateless; the calls are single system calls and safe from any thread.
#pragma once

#include <sys/types.h>

namespace rksignal {

class SharedSegment {
public:
    // True when the segment was removed (marked for destruction) or is gone.
    static bool removed(int shmId);
    // True when `key` now names a segment other than `shmId`.
    static bool replaced(key_t key, int shmId);
    // Removes the segment when this process created it and no other process
    // has attached to it or detached from it since: nobody else ever saw it,
    // so nobody can miss it. True when it was removed; a negative id (no
    // segment) is left alone.
    static bool removeIfOnlyEverOurs(int shmId);
};

} // namespace rksignal
