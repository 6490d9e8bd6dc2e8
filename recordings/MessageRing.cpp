#include "recordings/MessageRing.h"

#include <algorithm>
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
        to.canFdFlags = from.canFdFlags;
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
    copyMessage(message, *slots_[(first_ + count_) % slots_.size()]);
    ++count_;
}

void MessageRing::dropBefore(uint64_t time)
{
    while (count_ > 0 && slots_[first_]->timestamp() < time) {
        first_ = (first_ + 1) % slots_.size();
        --count_;
    }
}

// Adds a block of slots after the messages held (the ring is full), the
// messages in order from slot 0.
void MessageRing::grow()
{
    const size_t added = std::max<size_t>(64, slots_.size() / 8);
    blocks_.push_back(std::make_unique<RecordedMessage[]>(added));
    std::vector<RecordedMessage*> slots;
    slots.reserve(slots_.size() + added);
    for (size_t index = 0; index < count_; ++index)
        slots.push_back(slots_[(first_ + index) % slots_.size()]);
    for (size_t index = 0; index < added; ++index)
        slots.push_back(&blocks_.back()[index]);
    slots_ = std::move(slots);
    first_ = 0;
}

} // namespace rksignal
