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

namespace rksignal {

class OutputBuffer;

class ReplayPacer {
public:
    // speed: recording seconds per wall-clock second; 0 (or less) turns pacing
    // off. Rows buffered in `flushBeforeWaiting` (may be null) are written out
    // before each wait, so that they appear when their values do.
    ReplayPacer(double speed, OutputBuffer* flushBeforeWaiting);

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
    OutputBuffer* out_;
    bool started_ = false;
    uint64_t firstTimestamp_ = 0;
    std::chrono::steady_clock::time_point startedAt_;
};

} // namespace rksignal
