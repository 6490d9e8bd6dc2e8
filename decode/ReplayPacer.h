// ReplayPacer: holds the decoder back so that it decodes each message at the
// pace of the recording (optionally sped up or slowed down), for readers that
// follow the values in shared memory as they would follow a running logger.
//
// The pace is measured from the first message: a message stamped t after the
// first one is decoded t / speed after the first one was. A message stamped
// earlier than the pace has reached (time going backwards, a second recording
// that starts earlier) is decoded at once.
//
// Not thread-safe; one pacer per decoding loop. pace() allocates nothing.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace rksignal {

class ReplayPacer {
public:
    // speed: recording seconds per wall-clock second; 0 (or less) turns pacing
    // off. `beforeWaiting` (may be empty) is called before each wait, e.g. to
    // write out buffered rows, so that they appear when their values do.
    ReplayPacer(double speed, std::function<void()> beforeWaiting);

    // Called once per message, before it is decoded; `timestamp` in
    // microseconds.
    void pace(uint64_t timestamp)
    {
        if (speed_ > 0)
            waitFor(timestamp);
    }

private:
    void waitFor(uint64_t timestamp);

    double speed_;
    std::function<void()> beforeWaiting_;
    bool started_ = false;
    uint64_t firstTimestamp_ = 0;
    std::chrono::steady_clock::time_point startedAt_;
};

} // namespace rksignal
