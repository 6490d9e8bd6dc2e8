#include "recordings/RecordingFormats.h"

#include "recordings/CandumpReader.h"
#include "recordings/LineRecording.h"
#include "recordings/NmeaReader.h"
#include "recordings/PcapRecording.h"
#include "recordings/TraceLineReader.h"

#include <cstdio>

namespace rksignal {

namespace {

// Enough for every magic number in the table.
constexpr size_t headSize = 16;

bool endsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

size_t readHead(const std::string& path, unsigned char (&head)[headSize])
{
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return 0;
    const size_t size = std::fread(head, 1, headSize, file);
    std::fclose(file);
    return size;
}

} // namespace

const std::vector<RecordingFormat>& RecordingFormats::all()
{
    // name, magic number, name endings, channel per file, open. The last
    // row is the fallback.
    static const std::vector<RecordingFormat> formats = {
        {"pcap", PcapRecording::hasMagic, {".pcap", ".pcapng"}, true, PcapRecording::open},
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
    unsigned char head[headSize];
    const size_t size = readHead(path, head);
    for (const RecordingFormat& format : all())
        if (format.hasMagic && format.hasMagic(head, size))
            return format;
    for (const RecordingFormat& format : all())
        for (const std::string& extension : format.extensions)
            if (endsWith(path, extension))
                return format;
    return fallback();
}

} // namespace rksignal
