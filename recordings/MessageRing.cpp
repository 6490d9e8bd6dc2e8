#include "recordings/MessageRing.h"

#include <utility>

namespace rksignal {

void MessageRing::push(const RecordedMessage& message)
{
    if (count_ == slots_.size())
        grow();
    // Copy-assigning into a used slot reuses its vectors' storage.
    slots_[(first_ + count_) % slots_.size()] = message;
    ++count_;
}

void MessageRing::dropBefore(uint64_t time)
{
    while (count_ > 0 && slots_[first_].timestamp() < time) {
        first_ = (first_ + 1) % slots_.size();
        --count_;
    }
}

// Doubles the slots, the messages in order from slot 0.
void MessageRing::grow()
{
    std::vector<RecordedMessage> larger(slots_.empty() ? 64 : 2 * slots_.size());
    for (size_t index = 0; index < count_; ++index)
        larger[index] = std::move(slots_[(first_ + index) % slots_.size()]);
    slots_ = std::move(larger);
    first_ = 0;
}

} // namespace rksignal
