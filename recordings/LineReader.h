// LineReader: the lines of a file or of standard input, read in large blocks
// and handed out as views into the block, without a copy per line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace rksignal {

class LineReader {
public:
    // "-" reads standard input.
    explicit LineReader(const std::string& path);
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    bool isOpen() const { return fd_ >= 0; }
    // The next line without its line end (and a trailing CR); false at the
    // end. The view stays valid until the next call.
    bool next(std::string_view& line);
    uint64_t lineNumber() const { return lineNumber_; }
    uint64_t bytesConsumed() const { return consumed_; }
    // Size of a regular file, 0 for pipes and terminals.
    uint64_t fileSize() const { return fileSize_; }

private:
    bool refill();

    int fd_ = -1;
    bool ownsFd_ = false;
    bool eof_ = false;
    std::vector<char> buffer_;
    size_t begin_ = 0;
    size_t end_ = 0;
    uint64_t lineNumber_ = 0;
    uint64_t consumed_ = 0;
    uint64_t fileSize_ = 0;
};

} // namespace rksignal
