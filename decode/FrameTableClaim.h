// FrameTableClaim: the right of one Decoder or LiveValues to build signals.
//
// The library files bus and input signals in class-wide frame tables, which
// every storage of the process shares, and a SignalSet empties those tables
// when it ends. Two sets of signals alive at once would decode each other's
// frames and lose their tables with the first to end; so a Decoder or
// LiveValues claims the tables before it builds its signals, and only one
// claim is held at a time.
//
// Thread-safe.
#pragma once

#include <atomic>

namespace rksignal {

class FrameTableClaim {
public:
    FrameTableClaim() = default;
    ~FrameTableClaim() { release(); }
    FrameTableClaim(const FrameTableClaim&) = delete;
    FrameTableClaim& operator=(const FrameTableClaim&) = delete;

    // True when this object holds the claim, now or already.
    bool take()
    {
        bool free = false;
        held_ = held_ || taken_.compare_exchange_strong(free, true);
        return held_;
    }
    void release()
    {
        if (held_)
            taken_ = false;
        held_ = false;
    }

    static constexpr const char* refused =
        "another Decoder or LiveValues of this process holds signals; the library's frame tables allow one at a time";

private:
    static inline std::atomic<bool> taken_{false};
    bool held_ = false;
};

} // namespace rksignal
