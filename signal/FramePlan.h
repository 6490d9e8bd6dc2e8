// FramePlan: what a decoder needs of a frame table on its per-frame path, in
// the form the path wants it: an open-addressing hash table from frame key to
// a run of steps, one per signal filed under the key, in the table's order.
// A step is whatever the decoder keeps per signal (the signal, whether its
// class keeps the library's own write, ...), made by the decoder's `makeStep`.
//
// The frame table stays the truth. The plan is rebuilt from it on the first
// lookup after it may have changed: after any edit counted by
// FrameTableEdits (all of the library's own filing and removal), and after
// any change of the table's number of keys. Keys whose vector is empty are
// kept, so that "filed, nothing to write" stays apart from "not filed".
//
// Thread safety: lookups may run on several threads at once. The first one
// after a change rebuilds the plan under a lock while the others wait; as for
// the frame tables themselves, nothing may edit a table while any thread
// decodes. Lookups allocate nothing; rebuilds do.
#pragma once

#include "signal/FrameTableEdits.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

template <class Step>
class FramePlan {
public:
    struct Run {
        const Step* begin;
        const Step* end;
    };

    // The steps filed under `key` in `table`; false when the key is absent.
    template <class Map, class MakeStep>
    __attribute__((always_inline)) bool find(const Map& table, uint64_t key, MakeStep makeStep, Run& run)
    {
        if (stale(table))
            rebuild(table, makeStep);
        for (size_t i = slotOf(key);; i = (i + 1) & mask_) {
            const Entry& entry = entries_[i];
            if (entry.first == emptySlot)
                return false;
            if (entry.key == key) {
                run.begin = steps_.data() + entry.first;
                run.end = run.begin + entry.count;
                return true;
            }
        }
    }

private:
    struct Entry {
        uint64_t key;
        uint32_t first; // index of the first step; emptySlot marks a free entry
        uint32_t count;
    };
    static constexpr uint32_t emptySlot = ~uint32_t(0);
    static constexpr uint64_t neverBuilt = ~uint64_t(0);

    template <class Map>
    bool stale(const Map& table) const
    {
        // The acquire pairs with the release of rebuild: a lookup that sees
        // the plan current also sees everything the rebuild wrote.
        return builtAt_.load(std::memory_order_acquire) != FrameTableEdits::count() ||
               keys_.load(std::memory_order_relaxed) != table.size() || entries_.empty();
    }

    template <class Map, class MakeStep>
    __attribute__((noinline)) void rebuild(const Map& table, MakeStep makeStep)
    {
        std::lock_guard<std::mutex> guard(rebuilding_);
        if (!stale(table))
            return; // another thread was first
        const uint64_t edits = FrameTableEdits::count();
        size_t size = 8;
        while (size < 2 * table.size())
            size *= 2;
        entries_.assign(size, Entry{0, emptySlot, 0});
        mask_ = size - 1;
        shift_ = 64;
        for (size_t s = size; s > 1; s /= 2)
            --shift_;
        steps_.clear();
        for (const auto& filed : table) {
            size_t i = slotOf(filed.first);
            while (entries_[i].first != emptySlot)
                i = (i + 1) & mask_;
            entries_[i] = Entry{filed.first, uint32_t(steps_.size()), uint32_t(filed.second.size())};
            for (auto* signal : filed.second)
                steps_.push_back(makeStep(signal));
        }
        keys_.store(table.size(), std::memory_order_relaxed);
        builtAt_.store(edits, std::memory_order_release);
    }

    // Fibonacci hashing: the high bits of the product mix every bit of the
    // key, whose fields (identifier, channel, flags) sit far apart.
    size_t slotOf(uint64_t key) const { return size_t((key * 0x9e3779b97f4a7c15ULL) >> shift_); }

    // Empty until the first lookup, which therefore always rebuilds.
    std::vector<Entry> entries_;
    std::vector<Step> steps_;
    size_t mask_ = 0;
    unsigned shift_ = 64;
    std::atomic<uint64_t> builtAt_{neverBuilt};
    std::atomic<size_t> keys_{0};
    std::mutex rebuilding_;
};
