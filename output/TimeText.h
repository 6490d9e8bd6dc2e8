// TimeText: the time-stamp text of the decoder's rows, "YYYY-MM-DD
// hh:mm:ss.uuuuuu" in UTC (the library's printTime form), produced without a
// stream and with the calendar part cached per second.
#pragma once

#include <cstdint>
#include <string_view>

namespace rksignal {

class TimeText {
public:
    // The text of `microseconds`; valid until the next call.
    std::string_view format(uint64_t microseconds);

private:
    uint64_t cachedSecond_ = UINT64_MAX;
    uint64_t cachedMicroseconds_ = UINT64_MAX;
    char text_[48] = {};
    size_t secondsLength_ = 0;
};

} // namespace rksignal
