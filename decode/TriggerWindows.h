// TriggerWindows: cuts the messages of a recording into windows around
// trigger firings: from `pre` before a firing to `post` after it. A firing
// whose window reaches back into the window before (its start at or before
// that window's end) extends that window instead of opening another, so
// windows never overlap and no message is written twice.
//
// Memory is bounded by the messages of `pre`: while no window is open only
// those are kept (a MessageRing). A window stays open for `pre` past its
// end, since a firing within that time still extends it; the messages of
// that time are held back until it is known whether they belong to it.
//
//   TriggerWindows windows(5'000'000, 2'000'000, sink);
//   for each message read and decoded:
//       windows.add(message, firedTriggerText /* or nullptr */);
//   windows.finish();
//
// Not thread-safe; one per run.
#pragma once

#include "recordings/MessageRing.h"

#include <cstdint>
#include <string>

namespace rksignal {

// One window as cut: its number (from 1), the times of its first and last
// messages, the trigger that opened it and when, and its messages.
struct TriggerWindow {
    size_t number = 0;
    uint64_t first = 0, last = 0;
    std::string trigger;
    uint64_t firing = 0;
    uint64_t messages = 0;
};

// Where the windows go.
class WindowSink {
public:
    virtual ~WindowSink() = default;
    virtual void begin(const TriggerWindow& window) = 0;
    virtual void write(const RecordedMessage& message) = 0;
    // The window is complete: no message is added to it any more.
    virtual void end(const TriggerWindow& window) = 0;
};

class TriggerWindows {
public:
    // `pre` and `post` in microseconds.
    TriggerWindows(uint64_t pre, uint64_t post, WindowSink& sink) : pre_(pre), post_(post), sink_(sink) {}

    // The next message; `fired`: the text of a trigger that fired on it,
    // or null.
    void add(const RecordedMessage& message, const std::string* fired);
    // Ends the open window, if any.
    void finish();

    size_t windows() const { return window_.number; }
    // The most messages held back at once (the ring's slots).
    size_t heldBack() const { return ring_.capacity(); }

private:
    uint64_t windowStart(uint64_t firing) const { return firing > pre_ ? firing - pre_ : 0; }
    uint64_t windowEnd(uint64_t firing) const { return firing > UINT64_MAX - post_ ? UINT64_MAX : firing + post_; }
    void open(uint64_t time, const std::string& trigger);
    void writeHeldBack();
    void write(const RecordedMessage& message);
    void hold(const RecordedMessage& message);
    void close();

    const uint64_t pre_, post_;
    WindowSink& sink_;
    MessageRing ring_;
    bool open_ = false;
    uint64_t end_ = 0; // of the open window: its last firing + post
    TriggerWindow window_;
};

} // namespace rksignal
