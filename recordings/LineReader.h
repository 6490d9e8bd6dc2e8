// LineReader: the lines of a file or of standard input (decompressed when
// it is compressed), read in large blocks and handed out as views into the
// block, without a copy per line.
#pragma once

#include "recordings/ByteStream.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace rksignal {

class LineReader {
public:
    // "-" reads standard input.
    explicit LineReader(const std::string& path);

    bool isOpen() const { return stream_.isOpen(); }
    // Why the file could not be opened or read to its end; empty when it was.
    const std::string& error() const { return stream_.error(); }
    // The next line without its line end (and a trailing CR); false at the
    // end. The view stays valid until the next call.
    bool next(std::string_view& line);
    uint64_t lineNumber() const { return lineNumber_; }
    // Bytes of the file taken so far (compressed bytes for a compressed file).
    uint64_t bytesConsumed() const { return stream_.bytesConsumed(); }
    // Size of a regular file, 0 for pipes and terminals.
    uint64_t fileSize() const { return stream_.fileSize(); }

private:
    bool refill();

    ByteStream stream_;
    bool eof_ = false;
    std::vector<char> buffer_;
    size_t begin_ = 0;
    size_t end_ = 0;
    uint64_t lineNumber_ = 0;
};

} // namespace rksignal
