#include "output/ProgressBar.h"

#include <unistd.h>

#include <cstdio>

namespace rksignal {

ProgressBar::ProgressBar(const std::string& label, uint64_t totalBytes, uint64_t threshold)
    : label_(label), total_(totalBytes), active_(totalBytes > threshold && isatty(STDERR_FILENO))
{
}

ProgressBar::~ProgressBar()
{
    if (active_) {
        redraw(total_);
        std::fputc('\n', stderr);
    }
}

void ProgressBar::redraw(uint64_t bytesDone)
{
    const auto now = std::chrono::steady_clock::now();
    if (bytesDone < total_ && now - lastDraw_ < std::chrono::milliseconds(200))
        return;
    lastDraw_ = now;
    constexpr int width = 40;
    const double share = total_ ? double(bytesDone) / double(total_) : 1.0;
    const int filled = int(share * width + 0.5);
    std::fprintf(stderr, "\r%s [%-*.*s] %3d%%", label_.c_str(), width, filled,
                 "########################################", int(share * 100 + 0.5));
    std::fflush(stderr);
}

} // namespace rksignal
