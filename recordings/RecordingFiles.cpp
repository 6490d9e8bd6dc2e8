#include "recordings/RecordingFiles.h"

#include "recordings/LineRecording.h"
#include "recordings/NmeaReader.h"
#include "recordings/PcapRecording.h"
#include "recordings/TraceLineReader.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace rksignal {

namespace {

constexpr uint8_t defaultCaptureChannel = 1;
constexpr size_t flexRaySlots = 2048;

bool endsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::string fileName(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool isCaptureMagic(const unsigned char* b)
{
    const uint32_t word = uint32_t(b[0]) << 24 | uint32_t(b[1]) << 16 | uint32_t(b[2]) << 8 | uint32_t(b[3]);
    return word == 0xa1b2c3d4u || word == 0xd4c3b2a1u     // pcap, microseconds, either byte order
           || word == 0xa1b23c4du || word == 0x4d3cb2a1u  // pcap, nanoseconds
           || word == 0x0a0d0d0au;                        // pcapng section header
}

} // namespace

RecordingFiles::Format RecordingFiles::formatOf(const std::string& path)
{
    if (path == "-")
        return Candump;
    if (FILE* file = std::fopen(path.c_str(), "rb")) {
        unsigned char magic[4];
        const bool capture = std::fread(magic, 1, sizeof magic, file) == sizeof magic && isCaptureMagic(magic);
        std::fclose(file);
        if (capture)
            return Capture;
    }
    if (endsWith(path, ".pcap") || endsWith(path, ".pcapng"))
        return Capture; // libpcap then says what is wrong with it
    if (endsWith(path, ".nmea"))
        return Nmea;
    if (endsWith(path, ".trace"))
        return TraceLines;
    return Candump;
}

void RecordingFiles::mapChannel(const std::string& name, uint8_t channel, const std::vector<std::string>& recordings)
{
    bool capture = false;
    for (const std::string& path : recordings)
        if ((path == name || fileName(path) == name) && formatOf(path) == Capture) {
            captureChannels_[path] = channel;
            capture = true;
        }
    if (!capture)
        candump_.mapInterface(name, channel);
}

void RecordingFiles::useFlexRaySegments(const DefinitionSet& definitions)
{
    staticSlots_.assign(flexRaySlots, false);
    for (const flexRaySignalDef_t& signal : definitions.flexRay)
        for (const flexRayPosition_t& position : signal.positions)
            if (position.type)
                staticSlots_[position.slot % flexRaySlots] = true;
}

std::unique_ptr<RecordingReader> RecordingFiles::open(const std::string& path, std::string& error)
{
    const Format format = formatOf(path);
    if (format == Capture) {
        const auto channel = captureChannels_.find(path);
        auto capture = std::make_unique<PcapRecording>(
            path, channel == captureChannels_.end() ? defaultCaptureChannel : channel->second, staticSlots_, report_);
        if (!capture->isOpen()) {
            error = capture->openError();
            return nullptr;
        }
        return capture;
    }
    std::unique_ptr<LineRecording> lines;
    if (format == Nmea)
        lines = std::make_unique<LineRecording>(path, std::make_unique<NmeaReader>(), report_);
    else if (format == TraceLines)
        lines = std::make_unique<LineRecording>(path, std::make_unique<TraceLineReader>(), report_);
    else
        lines = std::make_unique<LineRecording>(path, candump_, report_);
    if (!lines->isOpen()) {
        error = std::strerror(errno);
        return nullptr;
    }
    return lines;
}

} // namespace rksignal
