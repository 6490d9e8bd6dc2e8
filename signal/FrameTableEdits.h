// FrameTableEdits: counts the edits of the frame tables, so that the decode
// plans built from them (FramePlan) know when to rebuild.
//
// Every filing and removal the library makes goes through FrameTable and is
// counted there. The tables are public, and clients may also edit them
// directly: a plan notices a change of the number of keys by itself, but a
// vector changed in place under a key it already has (after decoding has
// started) is only seen after a call of note().
#pragma once

#include <atomic>
#include <cstdint>

class FrameTableEdits {
public:
    static uint64_t count() { return counter.load(std::memory_order_acquire); }
    // Marks every decode plan stale; the next decode rebuilds it.
    static void note() { counter.fetch_add(1, std::memory_order_acq_rel); }

private:
    static std::atomic<uint64_t> counter;
};
