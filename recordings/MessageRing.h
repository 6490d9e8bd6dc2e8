// MessageRing: the most recent messages of a recording, oldest first, kept
// as copies in slots that are reused, so that once the ring has grown to
// the most messages it must hold at once, keeping one more allocates
// nothing (the slots' byte vectors keep their capacity).
//
// A message slot is large (it has room for every kind), so the ring grows
// by blocks of slots that never move, an eighth of its size at a time: it
// never holds much more than it needs, even while growing.
//
// Not thread-safe; one per reader of it.
#pragma once

#include "recordings/RecordedMessage.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace rksignal {

class MessageRing {
public:
    // Appends a copy of `message` as the newest.
    void push(const RecordedMessage& message);
    // Drops the oldest messages while they are older than `time`.
    void dropBefore(uint64_t time);
    void clear() { count_ = 0; }

    size_t size() const { return count_; }
    // The slots held, however many are in use: the ring's memory.
    size_t capacity() const { return slots_.size(); }
    // Message `index`, 0 the oldest.
    const RecordedMessage& at(size_t index) const { return *slots_[(first_ + index) % slots_.size()]; }

private:
    void grow();

    std::vector<std::unique_ptr<RecordedMessage[]>> blocks_;
    std::vector<RecordedMessage*> slots_; // into the blocks, in ring order
    size_t first_ = 0;
    size_t count_ = 0;
};

} // namespace rksignal
