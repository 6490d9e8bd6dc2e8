#include "recordings/AscReader.h"

#include <cctype>
#include <cstring>

namespace rksignal {

namespace {

bool is(std::string_view word, const char* keyword)
{
    if (word.size() != std::strlen(keyword))
        return false;
    for (size_t i = 0; i < word.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(word[i])) != keyword[i])
            return false;
    return true;
}

bool isDirection(std::string_view word) { return word == "Rx" || word == "Tx"; }

} // namespace

bool AscReader::hasMagic(const unsigned char* head, size_t size)
{
    // The file opens with its date or its number base, after blanks.
    LogText::Words words(std::string_view(reinterpret_cast<const char*>(head), size));
    const std::string_view first = words.next();
    const std::string_view base = words.next();
    return is(first, "date") || (is(first, "base") && (is(base, "hex") || is(base, "dec")));
}

LineParser::Result AscReader::header(std::string_view keyword, std::string_view rest)
{
    LogText::Words words(rest);
    uint64_t date = 0;
    if (is(keyword, "date") && LogText::parseDate(rest, date))
        start_ = previous_ = date;
    else if (is(keyword, "begin") && is(words.next(), "triggerblock") && LogText::parseDate(words.rest(), date))
        start_ = previous_ = date;
    else if (is(keyword, "base")) {
        base_ = is(words.next(), "dec") ? 10 : 16;
        if (is(words.next(), "timestamps"))
            relative_ = is(words.next(), "relative");
    }
    return Skipped;
}

LineParser::Result AscReader::parseLine(std::string_view line, RecordedMessage& message, const char*& reason)
{
    LogText::Words words(line);
    const std::string_view first = words.next();
    uint64_t offset = 0;
    if (!LogText::parseFixed(first, 6, offset))
        return header(first, words.rest());
    message.kind = RecordedMessage::Can;
    fdFlags_ = 0;
    CANExtTraceMessage& frame = message.can;
    frame.timestamp = (relative_ ? previous_ : start_) + offset;
    previous_ = frame.timestamp;
    const std::string_view second = words.next();
    if (second == "CANFD") {
        const Result result = fdFrame(words, frame, reason);
        message.canFdFlags = fdFlags_;
        return result;
    }
    message.canFdFlags = 0;
    if (second.empty() || !std::isdigit(static_cast<unsigned char>(second[0])))
        return Skipped; // events, statistics, chip states
    if (!channel(second, frame))
        return bad(reason, "channel out of range");
    const std::string_view id = words.next();
    if (is(id, "errorframe")) {
        ++skipped_.error;
        return Skipped;
    }
    const std::string_view direction = words.next();
    if (!isDirection(direction))
        return Skipped; // J1939 transport, statistics, ...
    if (!identifier(id, frame))
        return bad(reason, "expected a CAN identifier");
    return classicFrame(words, frame, reason);
}

LineParser::Result AscReader::classicFrame(LogText::Words& words, CANExtTraceMessage& frame, const char*& reason)
{
    const std::string_view type = words.next();
    if (is(type, "r")) {
        ++skipped_.remote;
        return Skipped;
    }
    uint64_t dlc = 0;
    if (!is(type, "d") || !LogText::parseUnsigned(words.next(), base_, 255, dlc))
        return bad(reason, "expected \"d <dlc>\" after the direction");
    const unsigned length = LogText::dlcToLength(unsigned(dlc)) < 8 ? LogText::dlcToLength(unsigned(dlc)) : 8;
    if (!bytes(words, length, frame))
        return bad(reason, "expected as many data bytes as the data length code gives");
    return Message;
}

LineParser::Result AscReader::fdFrame(LogText::Words& words, CANExtTraceMessage& frame, const char*& reason)
{
    if (!channel(words.next(), frame))
        return bad(reason, "expected a channel number after CANFD");
    if (!isDirection(words.next()))
        return bad(reason, "expected Rx or Tx after the channel");
    const std::string_view id = words.next();
    if (is(id, "errorframe")) {
        ++skipped_.error;
        return Skipped;
    }
    if (!identifier(id, frame))
        return bad(reason, "expected a CAN identifier");
    std::string_view brs = words.next();
    if (!brs.empty() && !std::isdigit(static_cast<unsigned char>(brs[0])))
        brs = words.next(); // the frame's symbolic name came first
    const std::string_view esi = words.next();
    uint64_t dlc = 0, length = 0;
    if (brs.empty() || esi.empty() || !LogText::parseUnsigned(words.next(), 16, 15, dlc) ||
        !LogText::parseUnsigned(words.next(), 10, 64, length))
        return bad(reason, "expected \"<brs> <esi> <dlc> <data length>\" after the identifier");
    if (length == 0) {
        ++skipped_.remote;
        return Skipped;
    }
    if (!bytes(words, unsigned(length), frame))
        return bad(reason, "expected as many data bytes as the data length gives");
    frame.frameFormat += 2;
    fdFlags_ = uint8_t((brs == "1" ? 1 : 0) | (esi == "1" ? 2 : 0));
    return Message;
}

bool AscReader::channel(std::string_view text, CANExtTraceMessage& frame)
{
    uint64_t number = 0;
    return LogText::parseUnsigned(text, 10, 255, number) && channelOf(number, frame.channel);
}

bool AscReader::identifier(std::string_view text, CANExtTraceMessage& frame)
{
    const bool extended = !text.empty() && (text.back() == 'x' || text.back() == 'X');
    if (extended)
        text.remove_suffix(1);
    uint64_t id = 0;
    if (!LogText::parseUnsigned(text, base_, extended ? 0x1fffffff : 0x7ff, id))
        return false;
    frame.canId = uint32_t(id);
    frame.frameFormat = extended ? 1 : 0;
    return true;
}

bool AscReader::bytes(LogText::Words& words, unsigned count, CANExtTraceMessage& frame)
{
    for (unsigned i = 0; i < count; ++i) {
        uint64_t value = 0;
        if (!LogText::parseUnsigned(words.next(), base_, 255, value))
            return false;
        frame.payload[i] = uint8_t(value);
    }
    frame.length = uint8_t(count);
    std::memset(frame.payload + count, 0, sizeof frame.payload - count);
    return true;
}

} // namespace rksignal
