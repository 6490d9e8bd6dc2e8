// ProgressBar: a one-line progress display on standard error, for reading a
// large file at a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace rksignal {

class ProgressBar {
public:
    // Shown only when standard error is a terminal and `totalBytes` exceeds
    // `threshold`.
    ProgressBar(const std::string& label, uint64_t totalBytes, uint64_t threshold = 10u << 20);
    ~ProgressBar();
    // Cheap to call often: asks `bytesDone()` for the bytes read so far only
    // now and then, and redraws at most a few times a second.
    template <class BytesDone>
    void update(BytesDone bytesDone)
    {
        if (active_ && ++calls_ % 4096 == 0)
            redraw(bytesDone());
    }

private:
    void redraw(uint64_t bytesDone);

    std::string label_;
    uint64_t total_;
    bool active_;
    uint64_t calls_ = 0;
    std::chrono::steady_clock::time_point lastDraw_;
};

} // namespace rksignal
