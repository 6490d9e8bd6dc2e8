#include "decode/ReplayPacer.h"

#include <thread>

namespace rksignal {

namespace {
// A gap of more than a few decades in a recording is a broken time stamp;
// capping it keeps the time arithmetic inside the clock's range.
constexpr double longestWaitNs = 1e18;
} // namespace

ReplayPacer::ReplayPacer(double speed, std::function<void()> beforeWaiting)
    : speed_(speed), beforeWaiting_(std::move(beforeWaiting))
{
}

void ReplayPacer::waitFor(uint64_t timestamp)
{
    if (!started_) {
        started_ = true;
        firstTimestamp_ = timestamp;
        startedAt_ = std::chrono::steady_clock::now();
        return;
    }
    if (timestamp <= firstTimestamp_)
        return;
    double offsetNs = double(timestamp - firstTimestamp_) * 1000.0 / speed_;
    if (offsetNs > longestWaitNs)
        offsetNs = longestWaitNs;
    const auto due = startedAt_ + std::chrono::nanoseconds(int64_t(offsetNs));
    if (due <= std::chrono::steady_clock::now())
        return;
    if (beforeWaiting_)
        beforeWaiting_();
    std::this_thread::sleep_until(due);
}

} // namespace rksignal
