#include "output/OutputBuffer.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>

namespace rksignal {

OutputBuffer::OutputBuffer(int fd, size_t capacity) : fd_(fd), buffer_(capacity < 256 ? 256 : capacity) {}

OutputBuffer::~OutputBuffer() { flush(); }

void OutputBuffer::reserve(size_t bytes)
{
    if (used_ + bytes > buffer_.size())
        flush();
    if (bytes > buffer_.size())
        buffer_.resize(bytes);
}

void OutputBuffer::append(std::string_view text)
{
    if (text.empty()) // an empty view may hold no pointer at all, which memcpy must not get
        return;
    reserve(text.size());
    std::memcpy(buffer_.data() + used_, text.data(), text.size());
    used_ += text.size();
}

void OutputBuffer::append(char c)
{
    reserve(1);
    buffer_[used_++] = c;
}

void OutputBuffer::appendUnsigned(uint64_t value)
{
    reserve(20);
    used_ = size_t(std::to_chars(buffer_.data() + used_, buffer_.data() + buffer_.size(), value).ptr - buffer_.data());
}

void OutputBuffer::appendDouble(double value)
{
    reserve(32);
    used_ = size_t(std::to_chars(buffer_.data() + used_, buffer_.data() + buffer_.size(), value).ptr - buffer_.data());
}

void OutputBuffer::appendPadding(size_t count, char fill)
{
    reserve(count);
    std::memset(buffer_.data() + used_, fill, count);
    used_ += count;
}

bool OutputBuffer::flush()
{
    size_t done = 0;
    while (done < used_ && !failed_) {
        const ssize_t written = ::write(fd_, buffer_.data() + done, used_ - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            failed_ = true;
        else
            done += size_t(written);
    }
    used_ = 0;
    return !failed_;
}

} // namespace rksignal
