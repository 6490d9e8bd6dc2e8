#include "recordings/RecordingFormats.h"

#include "recordings/AscReader.h"
#include "recordings/BlfReader.h"
#include "recordings/ByteStream.h"
#include "recordings/CandumpReader.h"
#include "recordings/LineRecording.h"
#include "recordings/NmeaReader.h"
#include "recordings/PcapRecording.h"
#include "recordings/TraceLineReader.h"
#include "recordings/TrcReader.h"

#include <sys/mman.h>
#include <unistd.h>

namespace rksignal {

namespace {

// Enough for every magic number and for the opening words of the text
// formats.
constexpr size_t headSize = 512;

struct Head {
    unsigned char bytes[headSize];
    size_t size = 0;
    ByteStream::Compression compression = ByteStream::None;
};

bool endsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The file's first bytes, decompressed.
Head readHead(const std::string& path)
{
    Head head;
    ByteStream stream(path);
    head.compression = stream.compression();
    head.size = stream.readFull(head.bytes, headSize);
    return head;
}

// The name without a compression's ending.
std::string innerName(const std::string& path, ByteStream::Compression compression)
{
    for (const char* ending : {".gz", ".zst", ".xz"})
        if (compression != ByteStream::None && endsWith(path, ending))
            return path.substr(0, path.size() - std::char_traits<char>::length(ending));
    return path;
}

const RecordingFormat* byContent(const Head& head)
{
    for (const RecordingFormat& format : RecordingFormats::all())
        if (format.hasMagic && format.hasMagic(head.bytes, head.size))
            return &format;
    return nullptr;
}

const RecordingFormat* byName(const std::string& name)
{
    for (const RecordingFormat& format : RecordingFormats::all())
        for (const std::string& extension : format.extensions)
            if (endsWith(name, extension))
                return &format;
    return nullptr;
}

std::unique_ptr<RecordingReader> unknownCompressed(const std::string& path, const RecordingSetup&,
                                                   std::string& error)
{
    error = std::string(ByteStream::compressionName(readHead(path).compression)) +
            " compressed file of unknown format: neither its decompressed contents nor its name (without the "
            "compression's ending) is of a recording format";
    return nullptr;
}

const RecordingFormat unknownCompressedFormat{"unknown compressed", nullptr, {}, false, unknownCompressed};

// A reader that needs a file of its own gets the decompressed bytes as a
// file in memory; the reader opens it by name, after which our descriptor
// may go.
std::unique_ptr<RecordingReader> openDecompressed(const RecordingFormat& format, const std::string& path,
                                                  const RecordingSetup& setup, std::string& error)
{
    ByteStream stream(path);
    const int fd = memfd_create("decompressed", MFD_CLOEXEC);
    if (fd < 0) {
        error = "cannot make a memory file for the decompressed data";
        return nullptr;
    }
    std::vector<unsigned char> block(1 << 18);
    bool written = true;
    for (size_t got; written && (got = stream.read(block.data(), block.size())) > 0;)
        written = ::write(fd, block.data(), got) == ssize_t(got);
    std::unique_ptr<RecordingReader> reader;
    if (!stream.error().empty())
        error = stream.error();
    else if (!written)
        error = "cannot hold the decompressed data in memory";
    else
        reader = format.open("/proc/self/fd/" + std::to_string(fd), setup, error);
    ::close(fd);
    return reader;
}

} // namespace

const std::vector<RecordingFormat>& RecordingFormats::all()
{
    // name, magic number, name endings, channel per file, open, streams.
    // The last row is the fallback.
    static const std::vector<RecordingFormat> formats = {
        {"pcap", PcapRecording::hasMagic, {".pcap", ".pcapng"}, true, PcapRecording::open, false},
        {"blf", BlfReader::hasMagic, {".blf"}, true, BlfReader::open},
        {"asc", AscReader::hasMagic, {".asc"}, true, LogLineParser::open<AscReader>},
        {"trc", TrcReader::hasMagic, {".trc"}, true, LogLineParser::open<TrcReader>},
        {"nmea", nullptr, {".nmea"}, false, LineRecording::open<NmeaReader>},
        {"trace", nullptr, {".trace"}, false, LineRecording::open<TraceLineReader>},
        {"candump", nullptr, {}, false, CandumpReader::open},
    };
    return formats;
}

const RecordingFormat& RecordingFormats::fallback()
{
    return all().back();
}

const RecordingFormat& RecordingFormats::of(const std::string& path)
{
    if (path == "-")
        return fallback();
    const Head head = readHead(path);
    if (const RecordingFormat* format = byContent(head))
        return *format;
    if (const RecordingFormat* format = byName(innerName(path, head.compression)))
        return *format;
    if (head.compression == ByteStream::None || CandumpReader::looksLikeLog(head.bytes, head.size))
        return fallback();
    return unknownCompressedFormat;
}

std::unique_ptr<RecordingReader> RecordingFormats::open(const std::string& path, const RecordingSetup& setup,
                                                        std::string& error)
{
    const RecordingFormat& format = of(path);
    if (!format.streams && path != "-" && readHead(path).compression != ByteStream::None)
        return openDecompressed(format, path, setup, error);
    return format.open(path, setup, error);
}

} // namespace rksignal
