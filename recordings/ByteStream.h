// ByteStream: the bytes of a file or of standard input, decompressed on the
// fly when the file is gzip, zstd or xz compressed (recognised by its magic
// number, whatever its name). Reading holds one block of compressed input
// and the codec's own window, so memory does not grow with the file.
//
// Not thread-safe; one per input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace rksignal {

class ByteStream {
public:
    enum Compression { None, Gzip, Zstd, Xz };

    // "-" reads standard input.
    explicit ByteStream(const std::string& path);
    ~ByteStream();
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;

    // False, with the system's reason in error(), when the file cannot be
    // opened.
    bool isOpen() const { return fd_ >= 0; }
    Compression compression() const { return compression_; }
    // "gzip", "zstd", "xz" (empty for None).
    static const char* compressionName(Compression compression);

    // Up to `size` bytes of the (decompressed) contents; 0 at the end, or on
    // an error, which error() then tells.
    size_t read(void* out, size_t size);
    // As read(), but only short at the end or on an error.
    size_t readFull(void* out, size_t size);
    const std::string& error() const { return error_; }

    // Compressed bytes taken from the file so far, and the file's size (0
    // for pipes), for the progress display.
    uint64_t bytesConsumed() const { return consumed_; }
    uint64_t fileSize() const { return fileSize_; }

    class Codec;

private:
    bool refill();
    size_t readFd(unsigned char* out, size_t size);
    size_t readRaw(unsigned char* out, size_t size);
    size_t decompress(unsigned char* out, size_t size);

    int fd_ = -1;
    bool ownsFd_ = false;
    bool eof_ = false;
    bool ended_ = false;
    Compression compression_ = None;
    std::unique_ptr<Codec> codec_;
    std::vector<unsigned char> input_;
    size_t begin_ = 0;
    size_t end_ = 0;
    uint64_t consumed_ = 0;
    uint64_t fileSize_ = 0;
    std::string error_;
};

} // namespace rksignal
