// signalSlot_t: the latest value of one signal.
//
// The slot lives either inside its signal object or in a System V shared
// memory segment of its own, where every logger process that builds a signal
// of the same instance name sees it. Its layout is therefore a format shared
// between processes and must not change.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>

struct signalSlot_t {
    uint64_t size;          // 104 once initialised; see slotIsSetUp
    char name[32];          // signal name, at most 31 characters, NUL-terminated
    bool valid;             // a value was written since creation or the last clear
    uint8_t padding[7];
    pthread_mutex_t mutex;  // guards valid, raw and timestamp; taken by polling
    uint64_t raw;           // extracted field, sign-extended, or float/double bits
    uint64_t timestamp;     // time of the last write, in the trace messages' unit
};

static_assert(sizeof(signalSlot_t) == 104, "signalSlot_t is shared between processes");
static_assert(offsetof(signalSlot_t, name) == 8, "name at offset 8");
static_assert(offsetof(signalSlot_t, valid) == 40, "valid at offset 40");
static_assert(offsetof(signalSlot_t, mutex) == 48, "mutex at offset 48");
static_assert(sizeof(pthread_mutex_t) == 40, "mutex is 40 bytes");
static_assert(offsetof(signalSlot_t, raw) == 88, "raw at offset 88");
static_assert(offsetof(signalSlot_t, timestamp) == 96, "timestamp at offset 96");

// Whether a slot is set up, told by its size field. A new segment is
// zero-filled, and whoever sets a slot up stores the size last, with release
// semantics (markSlotSetUp), after every other field. A process that reads
// the size with acquire semantics and finds it set therefore also sees the
// name and the fill patterns, and may take the lock and use the slot; one that
// finds 0 must not touch the slot yet.
inline bool slotIsSetUp(const signalSlot_t& slot)
{
    return __atomic_load_n(&slot.size, __ATOMIC_ACQUIRE) == sizeof(signalSlot_t);
}

inline void markSlotSetUp(signalSlot_t& slot)
{
    __atomic_store_n(&slot.size, uint64_t(sizeof(signalSlot_t)), __ATOMIC_RELEASE);
}
