#include "recordings/CandumpReader.h"

#include "definitions/TextCursor.h"
#include "recordings/LineRecording.h"

#include <cstring>

namespace rksignal {

namespace {

constexpr uint32_t errorFrameFlag = 0x20000000u;

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// A hand-written scan: this runs for every line of recordings of millions of
// lines, so it walks the characters once and allocates nothing.
class LineScan {
public:
    explicit LineScan(std::string_view line) : p_(line.data()), end_(line.data() + line.size()) {}

    void skipBlanks()
    {
        while (p_ < end_ && isBlank(*p_))
            ++p_;
    }
    std::string_view word()
    {
        skipBlanks();
        const char* start = p_;
        while (p_ < end_ && !isBlank(*p_))
            ++p_;
        return std::string_view(start, size_t(p_ - start));
    }

    bool timestamp(uint64_t& micros)
    {
        skipBlanks();
        return TextCursor::scanTimestamp(p_, end_, micros);
    }

private:
    const char* p_;
    const char* end_;
};

bool parseHexId(std::string_view text, uint64_t& id)
{
    id = 0;
    for (char c : text) {
        const int digit = TextCursor::hexDigit(c);
        if (digit < 0)
            return false;
        id = id << 4 | uint64_t(digit);
    }
    return true;
}

bool parseData(std::string_view text, uint8_t* out, size_t limit, uint8_t& length)
{
    size_t count = 0;
    if (!TextCursor::scanHexBytes(text, out, limit, count))
        return false;
    length = static_cast<uint8_t>(count);
    return true;
}

} // namespace

std::unique_ptr<RecordingReader> CandumpReader::open(const std::string& path, const RecordingSetup& setup,
                                                     std::string& error)
{
    return LineRecording::opened(std::make_unique<LineRecording>(path, setup.candump, setup.report), error);
}

bool CandumpReader::looksLikeLog(const unsigned char* head, size_t size)
{
    LineScan scan(std::string_view(reinterpret_cast<const char*>(head), size));
    uint64_t micros = 0;
    return scan.timestamp(micros) && !scan.word().empty();
}

void CandumpReader::mapInterface(const std::string& name, uint8_t channel)
{
    for (auto& entry : interfaces_)
        if (entry.first == name) {
            entry.second = channel;
            used_[channel] = true;
            return;
        }
    interfaces_.emplace_back(name, channel);
    used_[channel] = true;
}

uint8_t CandumpReader::channelOf(std::string_view name)
{
    for (const auto& entry : interfaces_)
        if (entry.first == name)
            return entry.second;
    uint8_t channel = 1;
    while (channel < 255 && used_[channel])
        ++channel;
    mapInterface(std::string(name), channel);
    return channel;
}

CandumpReader::Result CandumpReader::parseLine(std::string_view line, CANExtTraceMessage& frame,
                                               const char*& reason)
{
    LineScan scan(line);
    if (!scan.timestamp(frame.timestamp)) {
        reason = "expected a time stamp \"(<seconds>.<microseconds>)\"";
        return Bad;
    }
    const std::string_view interface = scan.word();
    const std::string_view body = scan.word();
    if (interface.empty() || body.empty()) {
        reason = "expected \"<interface> <id>#<data>\" after the time stamp";
        return Bad;
    }
    const size_t hash = body.find('#');
    if (hash != 3 && hash != 8) {
        reason = "expected a 3-digit or 8-digit hexadecimal identifier before '#'";
        return Bad;
    }
    uint64_t id = 0;
    if (!parseHexId(body.substr(0, hash), id)) {
        reason = "expected a hexadecimal identifier before '#'";
        return Bad;
    }
    const bool extended = hash == 8;
    if (extended && (id & errorFrameFlag))
        return Skipped;
    if ((!extended && id > 0x7ff) || id > 0x1fffffff) {
        reason = "identifier out of range";
        return Bad;
    }
    std::string_view data = body.substr(hash + 1);
    if (!data.empty() && (data[0] == 'R' || data[0] == 'r'))
        return Skipped; // remote frame: no data to decode
    const bool fd = !data.empty() && data[0] == '#';
    fdFlags_ = 0;
    if (fd) {
        if (data.size() < 2 || TextCursor::hexDigit(data[1]) < 0) {
            reason = "expected a flags digit after \"##\"";
            return Bad;
        }
        fdFlags_ = uint8_t(TextCursor::hexDigit(data[1]) & 0x3);
        data.remove_prefix(2);
    }
    if (!parseData(data, frame.payload, fd ? 64 : 8, frame.length)) {
        reason = fd ? "expected up to 64 hexadecimal data bytes" : "expected up to 8 hexadecimal data bytes";
        return Bad;
    }
    // Nothing of an earlier frame may show through past the length.
    std::memset(frame.payload + frame.length, 0, sizeof frame.payload - frame.length);
    frame.canId = static_cast<uint32_t>(id);
    frame.frameFormat = (extended ? 1u : 0u) + (fd ? 2u : 0u);
    frame.channel = channelOf(interface);
    return Frame;
}

LineParser::Result CandumpReader::parseLine(std::string_view line, RecordedMessage& message, const char*& reason)
{
    message.kind = RecordedMessage::Can;
    switch (parseLine(line, message.can, reason)) {
    case Frame:
        message.canFdFlags = fdFlags_;
        return LineParser::Message;
    case Skipped:
        return LineParser::Skipped;
    case Bad:
        break;
    }
    return LineParser::Bad;
}

} // namespace rksignal
