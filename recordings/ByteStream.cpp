#include "recordings/ByteStream.h"

#include <fcntl.h>
#include <lzma.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>
#include <zstd.h>

#include <cerrno>
#include <cstring>

namespace rksignal {

namespace {

constexpr size_t blockSize = 1 << 18;

bool startsWith(const unsigned char* data, size_t size, const unsigned char* magic, size_t magicSize)
{
    return size >= magicSize && std::memcmp(data, magic, magicSize) == 0;
}

ByteStream::Compression compressionOf(const unsigned char* data, size_t size)
{
    static const unsigned char gzip[] = {0x1f, 0x8b};
    static const unsigned char zstd[] = {0x28, 0xb5, 0x2f, 0xfd};
    static const unsigned char xz[] = {0xfd, '7', 'z', 'X', 'Z', 0x00};
    if (startsWith(data, size, gzip, sizeof gzip))
        return ByteStream::Gzip;
    if (startsWith(data, size, zstd, sizeof zstd))
        return ByteStream::Zstd;
    if (startsWith(data, size, xz, sizeof xz))
        return ByteStream::Xz;
    return ByteStream::None;
}

} // namespace

// One decompressor behind one interface, so that the read loop is the same
// for every compression.
class ByteStream::Codec {
public:
    enum Status { Going, StreamEnd, Failed };

    virtual ~Codec() = default;
    // Decompresses from `in` into `out`, telling how much of each it used.
    // `inputEnded`: no input follows what is given.
    virtual Status run(const unsigned char* in, size_t inSize, size_t& used, unsigned char* out, size_t outSize,
                       size_t& produced, bool inputEnded) = 0;
    // Another stream follows the one that ended (concatenated members).
    virtual void restart() {}
    const std::string& message() const { return message_; }

protected:
    Status fail(const std::string& text)
    {
        message_ = text;
        return Failed;
    }

    std::string message_;
};

namespace {

class GzipCodec : public ByteStream::Codec {
public:
    GzipCodec()
    {
        std::memset(&z_, 0, sizeof z_);
        ready_ = inflateInit2(&z_, 15 + 32) == Z_OK; // +32: gzip or zlib header
    }
    ~GzipCodec() override { inflateEnd(&z_); }

    Status run(const unsigned char* in, size_t inSize, size_t& used, unsigned char* out, size_t outSize,
               size_t& produced, bool inputEnded) override
    {
        if (!ready_)
            return fail("zlib cannot start");
        z_.next_in = const_cast<unsigned char*>(in);
        z_.avail_in = uInt(inSize > (1u << 30) ? (1u << 30) : inSize);
        z_.next_out = out;
        z_.avail_out = uInt(outSize > (1u << 30) ? (1u << 30) : outSize);
        const uInt availIn = z_.avail_in, availOut = z_.avail_out;
        const int result = inflate(&z_, Z_NO_FLUSH);
        used = availIn - z_.avail_in;
        produced = availOut - z_.avail_out;
        if (result == Z_STREAM_END)
            return StreamEnd;
        if (result == Z_OK || (result == Z_BUF_ERROR && !inputEnded))
            return Going;
        if (result == Z_BUF_ERROR)
            return fail("the gzip data is truncated");
        return fail(std::string("bad gzip data (") + (z_.msg ? z_.msg : "zlib error") + ")");
    }
    void restart() override { inflateReset(&z_); }

private:
    z_stream z_;
    bool ready_ = false;
};

class ZstdCodec : public ByteStream::Codec {
public:
    ZstdCodec() : stream_(ZSTD_createDStream()) {}
    ~ZstdCodec() override { ZSTD_freeDStream(stream_); }

    Status run(const unsigned char* in, size_t inSize, size_t& used, unsigned char* out, size_t outSize,
               size_t& produced, bool inputEnded) override
    {
        if (stream_ == nullptr)
            return fail("zstd cannot start");
        ZSTD_inBuffer input{in, inSize, 0};
        ZSTD_outBuffer output{out, outSize, 0};
        const size_t result = ZSTD_decompressStream(stream_, &output, &input);
        used = input.pos;
        produced = output.pos;
        if (ZSTD_isError(result))
            return fail(std::string("bad zstd data (") + ZSTD_getErrorName(result) + ")");
        if (result == 0)
            frameDone_ = true;
        else if (used > 0 || produced > 0)
            frameDone_ = false;
        if (inputEnded && used == inSize && produced == 0)
            return frameDone_ ? StreamEnd : fail("the zstd data is truncated");
        return Going;
    }

private:
    ZSTD_DStream* stream_;
    bool frameDone_ = false;
};

class XzCodec : public ByteStream::Codec {
public:
    XzCodec() { ready_ = lzma_stream_decoder(&stream_, UINT64_MAX, LZMA_CONCATENATED) == LZMA_OK; }
    ~XzCodec() override { lzma_end(&stream_); }

    Status run(const unsigned char* in, size_t inSize, size_t& used, unsigned char* out, size_t outSize,
               size_t& produced, bool inputEnded) override
    {
        if (!ready_)
            return fail("liblzma cannot start");
        stream_.next_in = in;
        stream_.avail_in = inSize;
        stream_.next_out = out;
        stream_.avail_out = outSize;
        const lzma_ret result = lzma_code(&stream_, inputEnded ? LZMA_FINISH : LZMA_RUN);
        used = inSize - stream_.avail_in;
        produced = outSize - stream_.avail_out;
        if (result == LZMA_STREAM_END)
            return StreamEnd;
        if (result == LZMA_OK)
            return Going;
        if (result == LZMA_BUF_ERROR)
            return fail("the xz data is truncated");
        return fail("bad xz data (liblzma error " + std::to_string(int(result)) + ")");
    }

private:
    lzma_stream stream_ = LZMA_STREAM_INIT;
    bool ready_ = false;
};

std::unique_ptr<ByteStream::Codec> codecFor(ByteStream::Compression compression)
{
    switch (compression) {
    case ByteStream::Gzip:
        return std::make_unique<GzipCodec>();
    case ByteStream::Zstd:
        return std::make_unique<ZstdCodec>();
    case ByteStream::Xz:
        return std::make_unique<XzCodec>();
    case ByteStream::None:
        break;
    }
    return nullptr;
}

} // namespace

ByteStream::ByteStream(const std::string& path) : input_(blockSize)
{
    if (path == "-") {
        fd_ = STDIN_FILENO;
    } else {
        fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        ownsFd_ = true;
    }
    if (fd_ < 0) {
        error_ = std::strerror(errno);
        return;
    }
    struct stat info;
    if (fstat(fd_, &info) == 0 && S_ISREG(info.st_mode))
        fileSize_ = uint64_t(info.st_size);
    // Enough of the start for the longest magic number (a pipe may hand it
    // out in pieces).
    while (end_ < 6 && refill()) {
    }
    compression_ = compressionOf(input_.data(), end_);
    codec_ = codecFor(compression_);
}

ByteStream::~ByteStream()
{
    if (ownsFd_ && fd_ >= 0)
        ::close(fd_);
}

const char* ByteStream::compressionName(Compression compression)
{
    switch (compression) {
    case Gzip:
        return "gzip";
    case Zstd:
        return "zstd";
    case Xz:
        return "xz";
    case None:
        break;
    }
    return "";
}

// Appends what the file has next to the unread input.
bool ByteStream::refill()
{
    if (eof_ || fd_ < 0)
        return false;
    if (begin_ == end_)
        begin_ = end_ = 0;
    if (end_ == input_.size()) {
        if (begin_ == 0)
            return true; // full: nothing to add until some is taken
        std::memmove(input_.data(), input_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    const size_t got = readFd(input_.data() + end_, input_.size() - end_);
    end_ += got;
    return got > 0;
}

// What the descriptor has next, into `out`; 0 at the end or on an error.
size_t ByteStream::readFd(unsigned char* out, size_t size)
{
    for (;;) {
        const ssize_t got = ::read(fd_, out, size);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            error_ = std::strerror(errno);
        if (got <= 0) {
            eof_ = true;
            return 0;
        }
        consumed_ += uint64_t(got);
        return size_t(got);
    }
}

size_t ByteStream::read(void* out, size_t size)
{
    if (fd_ < 0 || size == 0 || !error_.empty())
        return 0;
    auto* bytes = static_cast<unsigned char*>(out);
    return codec_ ? decompress(bytes, size) : readRaw(bytes, size);
}

size_t ByteStream::readFull(void* out, size_t size)
{
    auto* bytes = static_cast<unsigned char*>(out);
    size_t done = 0;
    while (done < size) {
        const size_t got = read(bytes + done, size - done);
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

size_t ByteStream::readRaw(unsigned char* out, size_t size)
{
    // Large reads of an uncompressed file go straight into the caller's
    // buffer, without a copy through ours.
    if (begin_ == end_ && !eof_ && size >= input_.size())
        return readFd(out, size);
    if (begin_ == end_ && !refill())
        return 0;
    const size_t taken = std::min(size, end_ - begin_);
    std::memcpy(out, input_.data() + begin_, taken);
    begin_ += taken;
    return taken;
}

size_t ByteStream::decompress(unsigned char* out, size_t size)
{
    size_t total = 0;
    while (total == 0 && !ended_) {
        if (begin_ == end_)
            refill();
        size_t used = 0, produced = 0;
        const Codec::Status status =
            codec_->run(input_.data() + begin_, end_ - begin_, used, out, size, produced, eof_);
        begin_ += used;
        total += produced;
        if (status == Codec::Failed) {
            error_ = codec_->message();
            return 0;
        }
        if (status == Codec::StreamEnd) {
            if (begin_ == end_)
                refill();
            if (begin_ == end_)
                ended_ = true;
            else
                codec_->restart();
        }
    }
    return total;
}

} // namespace rksignal
