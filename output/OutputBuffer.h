// OutputBuffer: a large write buffer in front of a file descriptor, with the
// number formatting the decoder's rows need. Nothing here allocates once the
// buffer exists. The appends are inline: a row is a dozen of them, and all
// but the one in a buffer's worth that flushes only copy.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace rksignal {

class OutputBuffer {
public:
    explicit OutputBuffer(int fd, size_t capacity = 1 << 16);
    ~OutputBuffer();
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    void append(std::string_view text)
    {
        if (text.empty()) // an empty view may hold no pointer at all, which memcpy must not get
            return;
        std::memcpy(room(text.size()), text.data(), text.size());
        used_ += text.size();
    }
    void append(char c)
    {
        *room(1) = c;
        ++used_;
    }
    void appendUnsigned(uint64_t value);
    // The shortest text that reads back as the same double.
    void appendDouble(double value);
    void appendPadding(size_t count, char fill = ' ');
    // Writes out what is buffered; false once a write failed (e.g. a closed pipe).
    bool flush();
    bool failed() const { return failed_; }

private:
    // Where the next `bytes` go, flushing first when they do not fit.
    char* room(size_t bytes)
    {
        if (used_ + bytes > buffer_.size())
            makeRoom(bytes);
        return buffer_.data() + used_;
    }
    void makeRoom(size_t bytes);

    int fd_;
    std::vector<char> buffer_;
    size_t used_ = 0;
    bool failed_ = false;
};

} // namespace rksignal
