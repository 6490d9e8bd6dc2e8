#include "recordings/LineReader.h"

#include <cstring>

namespace rksignal {

namespace {
constexpr size_t blockSize = 1 << 20;
}

LineReader::LineReader(const std::string& path) : stream_(path), buffer_(blockSize) {}

bool LineReader::refill()
{
    if (eof_ || !stream_.isOpen())
        return false;
    // Keep the unfinished line, at the start of the buffer.
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    if (end_ == buffer_.size())
        buffer_.resize(buffer_.size() * 2); // a line longer than a block
    const size_t got = stream_.read(buffer_.data() + end_, buffer_.size() - end_);
    if (got == 0) {
        eof_ = true;
        return false;
    }
    end_ += got;
    return true;
}

bool LineReader::next(std::string_view& line)
{
    for (;;) {
        const char* start = buffer_.data() + begin_;
        const void* newline = std::memchr(start, '\n', end_ - begin_);
        if (newline != nullptr || (eof_ && begin_ < end_)) {
            const size_t length =
                newline ? size_t(static_cast<const char*>(newline) - start) : end_ - begin_;
            const size_t taken = newline ? length + 1 : length;
            line = std::string_view(start, length);
            if (!line.empty() && line.back() == '\r')
                line.remove_suffix(1);
            begin_ += taken;
            ++lineNumber_;
            return true;
        }
        if (!refill() && (begin_ >= end_))
            return false;
    }
}

} // namespace rksignal
