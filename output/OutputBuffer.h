// OutputBuffer: a large write buffer in front of a file descriptor, with the
// number formatting the decoder's rows need. Nothing here allocates once the
// buffer exists.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace rksignal {

class OutputBuffer {
public:
    explicit OutputBuffer(int fd, size_t capacity = 1 << 16);
    ~OutputBuffer();
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    void append(std::string_view text);
    void append(char c);
    void appendUnsigned(uint64_t value);
    // The shortest text that reads back as the same double.
    void appendDouble(double value);
    void appendPadding(size_t count, char fill = ' ');
    // Writes out what is buffered; false once a write failed (e.g. a closed pipe).
    bool flush();
    bool failed() const { return failed_; }

private:
    void reserve(size_t bytes);

    int fd_;
    std::vector<char> buffer_;
    size_t used_ = 0;
    bool failed_ = false;
};

} // namespace rksignal
