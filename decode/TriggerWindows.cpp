#include "decode/TriggerWindows.h"

#include <algorithm>

namespace rksignal {

void TriggerWindows::add(const RecordedMessage& message, const std::string* fired)
{
    const uint64_t time = message.timestamp();
    if (open_ && time <= end_) {
        write(message);
        if (fired)
            end_ = std::max(end_, windowEnd(time));
        return;
    }
    if (open_ && windowStart(time) <= end_) { // past the end, but a firing now still reaches back into it
        if (!fired) {
            hold(message);
            return;
        }
        writeHeldBack();
        write(message);
        end_ = windowEnd(time);
        return;
    }
    if (open_)
        close();
    if (!fired) {
        hold(message);
        return;
    }
    open(time, *fired);
    ring_.dropBefore(windowStart(time));
    writeHeldBack();
    write(message);
}

void TriggerWindows::finish()
{
    if (open_)
        close();
}

void TriggerWindows::open(uint64_t time, const std::string& trigger)
{
    window_ = TriggerWindow{window_.number + 1, 0, 0, trigger, time, 0};
    open_ = true;
    end_ = windowEnd(time);
    sink_.begin(window_);
}

void TriggerWindows::writeHeldBack()
{
    for (size_t index = 0; index < ring_.size(); ++index)
        write(ring_.at(index));
    ring_.clear();
}

void TriggerWindows::write(const RecordedMessage& message)
{
    const uint64_t time = message.timestamp();
    window_.first = window_.messages == 0 ? time : std::min(window_.first, time);
    window_.last = window_.messages == 0 ? time : std::max(window_.last, time);
    ++window_.messages;
    sink_.write(message);
}

void TriggerWindows::hold(const RecordedMessage& message)
{
    ring_.push(message);
    ring_.dropBefore(windowStart(message.timestamp()));
}

void TriggerWindows::close()
{
    open_ = false;
    sink_.end(window_);
}

} // namespace rksignal
