#include "recordings/TraceLineReader.h"

#include <charconv>
#include <cstdint>

namespace rksignal {

namespace {

constexpr size_t maxLinBytes = 8;
constexpr size_t maxFlexRayBytes = 254;

// The next space-separated field, read whole as a number of the given base
// within [min, max].
template <class Integer>
bool field(TextCursor& cursor, Integer min, Integer max, Integer& value, int base = 10)
{
    const std::string_view token = cursor.readToken();
    Integer number = 0;
    const auto result = std::from_chars(token.data(), token.data() + token.size(), number, base);
    if (token.empty() || result.ec != std::errc() || result.ptr != token.data() + token.size() || number < min ||
        number > max)
        return false;
    value = number;
    return true;
}

template <class Target, class Integer>
bool fieldInto(TextCursor& cursor, Integer min, Integer max, Target& target, int base = 10)
{
    Integer value = 0;
    if (!field(cursor, min, max, value, base))
        return false;
    target = static_cast<Target>(value);
    return true;
}

bool fail(const char*& reason, const char* text)
{
    reason = text;
    return false;
}

// "12.5", "-3", "1250e-2": the digits become the mantissa, the position of
// the decimal point and the exponent the power of ten, so that the reading
// reaches the decoder exactly as written.
bool reading(std::string_view text, int32_t& mantissa, int8_t& exponent)
{
    size_t i = 0;
    const bool negative = i < text.size() && text[i] == '-';
    if (i < text.size() && (text[i] == '-' || text[i] == '+'))
        ++i;
    int64_t digits = 0;
    int64_t power = 0;
    int count = 0;
    bool point = false;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '.' && !point) {
            point = true;
            continue;
        }
        if (c < '0' || c > '9')
            break;
        if (digits > INT64_C(1) << 40)
            return false;
        digits = digits * 10 + (c - '0');
        ++count;
        if (point)
            --power;
    }
    if (count == 0)
        return false;
    if (i < text.size()) {
        if (text[i] != 'e' && text[i] != 'E')
            return false;
        int exponentPart = 0;
        const char* first = text.data() + i + 1;
        if (first < text.data() + text.size() && *first == '+')
            ++first;
        const auto result = std::from_chars(first, text.data() + text.size(), exponentPart);
        if (result.ec != std::errc() || result.ptr != text.data() + text.size() || exponentPart < -1000 ||
            exponentPart > 1000)
            return false;
        power += exponentPart;
    }
    const int64_t value = negative ? -digits : digits;
    if (value < INT32_MIN || value > INT32_MAX || power < INT8_MIN || power > INT8_MAX)
        return false;
    mantissa = int32_t(value);
    exponent = int8_t(power);
    return true;
}

} // namespace

LineParser::Result TraceLineReader::parseLine(std::string_view line, RecordedMessage& message, const char*& reason)
{
    TextCursor cursor(line);
    cursor.skipSpaces();
    if (cursor.atEnd() || cursor.peek() == '#')
        return Skipped;
    uint64_t timestamp = 0;
    if (!cursor.readTimestamp(timestamp)) {
        reason = "expected a time stamp \"(<seconds>.<microseconds>)\"";
        return Bad;
    }
    const std::string_view kind = cursor.readToken();
    bool read = false;
    if (kind == "LIN") {
        read = lin(cursor, message, reason);
        message.lin.timestamp = timestamp;
    } else if (kind == "FLEXRAY") {
        read = flexRay(cursor, message, reason);
        message.flexRay.timestamp = timestamp;
    } else if (kind == "GPIO") {
        read = gpio(cursor, message, reason);
        message.gpio.timestamp = timestamp;
    } else if (kind == "ANALOG") {
        read = analog(cursor, message, reason);
        message.analog.timestamp = timestamp;
    } else if (kind == "KEY") {
        read = keyboard(cursor, message, reason);
        message.keyboard.timestamp = timestamp;
    } else if (kind == "SYSTEM") {
        read = system(cursor, message, reason);
        message.system.timestamp = timestamp;
    } else if (kind == "USAGE") {
        read = usage(cursor, message, reason);
        message.usage.timestamp = timestamp;
    } else {
        reason = "expected LIN, FLEXRAY, GPIO, ANALOG, KEY, SYSTEM or USAGE after the time stamp";
        return Bad;
    }
    if (!read)
        return Bad;
    cursor.skipSpaces();
    if (!cursor.atEnd()) {
        reason = "unexpected text after the fields";
        return Bad;
    }
    return Message;
}

bool TraceLineReader::lin(TextCursor& cursor, RecordedMessage& message, const char*& reason)
{
    message.kind = RecordedMessage::Lin;
    LINTraceMessage& lin = message.lin;
    if (!fieldInto(cursor, 0u, 255u, lin.channel))
        return fail(reason, "expected a channel 0..255");
    if (!fieldInto(cursor, 0u, 0xffu, lin.protectedId, 16))
        return fail(reason, "expected a hexadecimal LIN identifier 00..ff");
    uint8_t data[maxLinBytes];
    size_t length = 0;
    if (!TextCursor::scanHexBytes(cursor.readToken(), data, maxLinBytes, length))
        return fail(reason, "expected up to 8 hexadecimal data bytes");
    lin.data.assign(data, data + length);
    return true;
}

bool TraceLineReader::flexRay(TextCursor& cursor, RecordedMessage& message, const char*& reason)
{
    message.kind = RecordedMessage::FlexRay;
    FlexRayExtTraceMessage& frame = message.flexRay;
    if (!fieldInto(cursor, 0u, 255u, frame.channel))
        return fail(reason, "expected a channel 0..255");
    if (!fieldInto(cursor, 1u, 2047u, frame.slot))
        return fail(reason, "expected a slot 1..2047");
    if (!fieldInto(cursor, 0u, 63u, frame.cycle))
        return fail(reason, "expected a cycle 0..63");
    const std::string_view segment = cursor.readToken();
    if (segment != "static" && segment != "dynamic")
        return fail(reason, "expected the segment, static or dynamic");
    frame.frameKind = segment == "static" ? 16 : 17;
    uint8_t payload[maxFlexRayBytes];
    size_t length = 0;
    if (!TextCursor::scanHexBytes(cursor.readToken(), payload, maxFlexRayBytes, length))
        return fail(reason, "expected up to 254 hexadecimal payload bytes");
    // The decoder measures the frame by `data` and reads `payload`; both
    // hold the payload here.
    frame.data.assign(payload, payload + length);
    frame.payload.assign(payload, payload + length);
    return true;
}

bool TraceLineReader::gpio(TextCursor& cursor, RecordedMessage& message, const char*& reason)
{
    message.kind = RecordedMessage::Gpio;
    if (!fieldInto(cursor, 0u, 255u, message.inputModule))
        return fail(reason, "expected an input module 0..255");
    gpioData_t element;
    if (!fieldInto(cursor, 0u, 0xffffu, element.input))
        return fail(reason, "expected an input number 0..65535");
    if (!fieldInto(cursor, 0u, 0xffffu, element.value, 16))
        return fail(reason, "expected a hexadecimal value 0..ffff");
    element.mask = 0xffff;
    cursor.skipSpaces();
    if (!cursor.atEnd() && !fieldInto(cursor, 0u, 0xffffu, element.mask, 16))
        return fail(reason, "expected a hexadecimal mask 0..ffff");
    message.gpio.elements.assign(1, element);
    return true;
}

bool TraceLineReader::analog(TextCursor& cursor, RecordedMessage& message, const char*& reason)
{
    message.kind = RecordedMessage::Analog;
    if (!fieldInto(cursor, 0u, 255u, message.inputModule))
        return fail(reason, "expected an input module 0..255");
    analogData_t element;
    if (!fieldInto(cursor, 0u, 0xffffu, element.input))
        return fail(reason, "expected an input number 0..65535");
    if (!reading(cursor.readToken(), element.mantissa, element.exponent))
        return fail(reason, "expected a reading such as 12.5, -3 or 1250e-2 (mantissa within 32 bits)");
    message.analog.elements.assign(1, element);
    return true;
}

bool TraceLineReader::keyboard(TextCursor& cursor, RecordedMessage& message, const char*& reason)
{
    message.kind = RecordedMessage::Keyboard;
    if (!fieldInto(cursor, int64_t(INT32_MIN), int64_t(INT32_MAX), message.keyboard.keyCode))
        return fail(reason, "expected a key code (32-bit integer)");
    if (!fieldInto(cursor, int64_t(INT32_MIN), int64_t(INT32_MAX), message.keyboard.value))
        return fail(reason, "expected a key value (32-bit integer)");
    return true;
}

bool TraceLineReader::system(TextCursor& cursor, RecordedMessage& message, const char*& reason)
{
    message.kind = RecordedMessage::System;
    if (!fieldInto(cursor, uint64_t(0), uint64_t(UINT32_MAX), message.system.code))
        return fail(reason, "expected a message code 0..4294967295");
    // The text is the rest of the line (for the status, start and timer
    // codes a decimal number).
    const std::string_view text = cursor.readRest();
    message.system.text.assign(text.data(), text.size());
    return true;
}

bool TraceLineReader::usage(TextCursor& cursor, RecordedMessage& message, const char*& reason)
{
    message.kind = RecordedMessage::SystemUsage;
    SystemUsageMessage& usage = message.usage;
    if (!fieldInto(cursor, 0u, 255u, usage.internalUsage) || !fieldInto(cursor, 0u, 255u, usage.externalUsage) ||
        !fieldInto(cursor, 0u, 255u, usage.externalUsage2))
        return fail(reason, "expected three usage values 0..255 (internal, external, second external)");
    return true;
}

} // namespace rksignal
