#include "recordings/TrcReader.h"

#include <cstring>

namespace rksignal {

namespace {

// 1899-12-30, the day count's origin, is 25569 days before 1970-01-01.
constexpr uint64_t daysBefore1970 = 25569;

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

} // namespace

bool TrcReader::hasMagic(const unsigned char* head, size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(head), size);
    return startsWith(text, ";$FILEVERSION=") || startsWith(text, ";###");
}

void TrcReader::header(std::string_view line)
{
    const auto setColumns = [this](std::string_view columns) {
        size_t n = 0;
        for (char c : columns)
            if (c != ',' && c != ' ' && n + 1 < sizeof columns_)
                columns_[n++] = c;
        columns_[n] = '\0';
    };
    if (startsWith(line, ";$FILEVERSION=")) {
        const std::string_view version = line.substr(14);
        static const struct {
            const char* version;
            const char* columns;
        } fixed[] = {{"1.0", "NOILD"}, {"1.1", "NOTILD"}, {"1.2", "NOBTILD"}, {"1.3", "NOBTIRLD"},
                     {"2.0", "NOTIdlD"}, {"2.1", "NOTBIdRLD"}};
        for (const auto& entry : fixed)
            if (startsWith(version, entry.version))
                setColumns(entry.columns);
    } else if (startsWith(line, ";$COLUMNS=")) {
        setColumns(line.substr(10));
    } else if (startsWith(line, ";$STARTTIME=")) {
        // Days with twelve decimals: 10^-12 days is well below a microsecond.
        constexpr uint64_t unitsPerDay = 1000000000000u;
        uint64_t units = 0;
        if (LogText::parseFixed(line.substr(12), 12, units) && units >= daysBefore1970 * unitsPerDay &&
            units < 2958465u * unitsPerDay) {
            units -= daysBefore1970 * unitsPerDay;
            // 86400e6 µs a day: units * 864 / 10^4, without overflow.
            start_ = units / 10000u * 864u + units % 10000u * 864u / 10000u;
        }
    }
}

TrcReader::Kind TrcReader::kindOf(std::string_view type)
{
    if (type == "Rx" || type == "Tx" || type == "DT")
        return Classic;
    if (type == "FD" || type == "FB" || type == "FE" || type == "BI")
        return Fd;
    if (type == "RR")
        ++skipped_.remote;
    else if (type == "ER" || type == "Error")
        ++skipped_.error;
    return None; // status, warning, event lines
}

LineParser::Result TrcReader::parseLine(std::string_view line, RecordedMessage& message, const char*& reason)
{
    const size_t start = line.find_first_not_of(" \t");
    if (start == std::string_view::npos)
        return Skipped;
    line.remove_prefix(start);
    if (line[0] == ';') {
        header(line);
        return Skipped;
    }
    message.kind = RecordedMessage::Can;
    const Result result = frame(line, message.can, reason);
    message.canFdFlags = fdFlags_;
    return result;
}

LineParser::Result TrcReader::frame(std::string_view line, CANExtTraceMessage& frame, const char*& reason)
{
    const bool hasType = std::strchr(columns_, 'T') != nullptr;
    LogText::Words words(line);
    Kind kind = Classic;
    fdFlags_ = 0;
    uint64_t offset = 0, bus = 1, id = 0, dlc = 0, length = 0;
    bool haveLength = false, extended = false;
    std::string_view data;
    for (const char* column = columns_; *column; ++column) {
        const std::string_view word = *column == 'D' ? words.rest() : words.next();
        switch (*column) {
        case 'O':
            if (!LogText::parseFixed(word, 3, offset))
                return bad(reason, "expected a time offset in milliseconds");
            break;
        case 'T':
            fdFlags_ = uint8_t((word == "FB" || word == "BI" ? 1 : 0) | (word == "FE" || word == "BI" ? 2 : 0));
            kind = kindOf(word);
            if (kind == None)
                return Skipped;
            break;
        case 'B':
            if (!LogText::parseUnsigned(word, 10, 255, bus) || bus == 0)
                return bad(reason, "expected a bus number");
            break;
        case 'I':
            if (!LogText::parseUnsigned(word, 16, 0xffffffff, id))
                return bad(reason, "expected a hexadecimal identifier");
            extended = word.size() > 4;
            break;
        case 'L':
            if (!LogText::parseUnsigned(word, 10, 15, dlc))
                return bad(reason, "expected a data length code");
            break;
        case 'l':
            if (!LogText::parseUnsigned(word, 10, 64, length))
                return bad(reason, "expected a data length");
            haveLength = true;
            break;
        case 'D':
            data = word;
            break;
        default:
            break; // number, direction, reserved
        }
    }
    if (!hasType && id == 0xffffffff)
        return Skipped; // a bus state line of version 1.0
    if (startsWith(LogText::Words(data).next(), "RTR")) {
        ++skipped_.remote;
        return Skipped;
    }
    if (id > (extended ? 0x1fffffffu : 0x7ffu))
        return bad(reason, "identifier out of range");
    if (!channelOf(bus, frame.channel))
        return bad(reason, "channel out of range");
    if (!haveLength)
        length = kind == Fd ? LogText::dlcToLength(unsigned(dlc)) : (dlc < 8 ? dlc : 8);
    if (kind == Classic && length > 8)
        return bad(reason, "a classic frame holds at most 8 bytes");
    LogText::Words bytes(data);
    for (uint64_t i = 0; i < length; ++i) {
        uint64_t value = 0;
        if (!LogText::parseUnsigned(bytes.next(), 16, 255, value))
            return bad(reason, "expected as many data bytes as the data length gives");
        frame.payload[i] = uint8_t(value);
    }
    std::memset(frame.payload + length, 0, sizeof frame.payload - length);
    frame.length = uint8_t(length);
    frame.canId = uint32_t(id);
    frame.frameFormat = (extended ? 1u : 0u) + (kind == Fd ? 2u : 0u);
    frame.timestamp = start_ + offset;
    return Message;
}

} // namespace rksignal
