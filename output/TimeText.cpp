#include "output/TimeText.h"

#include "util/printTime.h"

#include <cstring>
#include <sstream>

namespace rksignal {

std::string_view TimeText::format(uint64_t microseconds)
{
    // The rows of one message share its time: all but the first reuse the text.
    if (microseconds == cachedMicroseconds_ && cachedSecond_ != UINT64_MAX)
        return std::string_view(text_, secondsLength_ + 7);
    cachedMicroseconds_ = microseconds;
    const uint64_t second = microseconds / 1000000u;
    if (second != cachedSecond_) {
        // The library's own form, so rows read exactly like its messages.
        std::ostringstream text;
        printTime(text, second * 1000000u);
        const std::string full = text.str();
        const size_t dot = full.rfind('.');
        secondsLength_ = std::min(dot == std::string::npos ? full.size() : dot, sizeof text_ - 8);
        std::memcpy(text_, full.data(), secondsLength_);
        text_[secondsLength_] = '.';
        cachedSecond_ = second;
    }
    uint32_t fraction = uint32_t(microseconds % 1000000u);
    for (int i = 6; i >= 1; --i) {
        text_[secondsLength_ + size_t(i)] = char('0' + fraction % 10);
        fraction /= 10;
    }
    return std::string_view(text_, secondsLength_ + 7);
}

} // namespace rksignal
