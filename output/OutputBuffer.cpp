#include "output/OutputBuffer.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>

namespace rksignal {

OutputBuffer::OutputBuffer(int fd, size_t capacity) : fd_(fd), buffer_(capacity < 256 ? 256 : capacity) {}

OutputBuffer::~OutputBuffer() { flush(); }

void OutputBuffer::makeRoom(size_t bytes)
{
    flush();
    if (bytes > buffer_.size())
        buffer_.resize(bytes);
}

void OutputBuffer::appendUnsigned(uint64_t value)
{
    char* start = room(20);
    used_ += size_t(std::to_chars(start, start + 20, value).ptr - start);
}

void OutputBuffer::appendDouble(double value)
{
    char* start = room(32);
    used_ += size_t(std::to_chars(start, start + 32, value).ptr - start);
}

void OutputBuffer::appendPadding(size_t count, char fill)
{
    std::memset(room(count), fill, count);
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
