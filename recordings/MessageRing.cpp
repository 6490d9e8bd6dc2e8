#include "recordings/MessageRing.h"

#include <utility>

namespace rksignal {

namespace {

// Copies what a message of its kind holds: the members of other kinds are
// left as they are (a whole copy would copy every kind's bytes each time).
// Copy-assigning into a used slot reuses its vectors' storage.
void copyMessage(const RecordedMessage& from, RecordedMessage& to)
{
    to.kind = from.kind;
    to.inputModule = from.inputModule;
    switch (from.kind) {
    case RecordedMessage::Can:
        to.can = from.can;
        break;
    case RecordedMessage::Lin:
        to.lin = from.lin;
        break;
    case RecordedMessage::FlexRay:
        to.flexRay = from.flexRay;
        break;
    case RecordedMessage::Ethernet:
        to.ethernet = from.ethernet;
        break;
    case RecordedMessage::Gps:
        to.gps = from.gps;
        break;
    case RecordedMessage::Gpio:
        to.gpio = from.gpio;
        break;
    case RecordedMessage::Analog:
        to.analog = from.analog;
        break;
    case RecordedMessage::Keyboard:
        to.keyboard = from.keyboard;
        break;
    case RecordedMessage::System:
        to.system = from.system;
        break;
    case RecordedMessage::SystemUsage:
        to.usage = from.usage;
        break;
    }
}

} // namespace

void MessageRing::push(const RecordedMessage& message)
{
    if (count_ == slots_.size())
        grow();
    copyMessage(message, slots_[(first_ + count_) % slots_.size()]);
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
