#include "definitions/TextCursor.h"

#include <cctype>
#include <charconv>
#include <cstdlib>

namespace rksignal {

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }
bool isIdentifierChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

} // namespace

const std::array<int8_t, 256> TextCursor::hexDigits = [] {
    std::array<int8_t, 256> table{};
    for (int c = 0; c < 256; ++c)
        table[size_t(c)] = int8_t(c >= '0' && c <= '9'   ? c - '0'
                                  : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                  : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                         : -1);
    return table;
}();

void TextCursor::skipSpaces()
{
    while (!atEnd() && isSpace(text_[pos_]))
        ++pos_;
}

bool TextCursor::consume(char c)
{
    skipSpaces();
    if (peek() != c || atEnd())
        return false;
    ++pos_;
    return true;
}

bool TextCursor::consumeWord(std::string_view word)
{
    skipSpaces();
    if (text_.substr(pos_, word.size()) != word)
        return false;
    pos_ += word.size();
    return true;
}

std::string_view TextCursor::readIdentifier()
{
    skipSpaces();
    const size_t start = pos_;
    while (!atEnd() && isIdentifierChar(text_[pos_]))
        ++pos_;
    return text_.substr(start, pos_ - start);
}

std::string_view TextCursor::readToken(std::string_view stops)
{
    skipSpaces();
    const size_t start = pos_;
    while (!atEnd() && !isSpace(text_[pos_]) && stops.find(text_[pos_]) == std::string_view::npos)
        ++pos_;
    return text_.substr(start, pos_ - start);
}

template <class Integer>
bool TextCursor::readInteger(Integer& value)
{
    skipSpaces();
    const char* first = text_.data() + pos_;
    const auto result = std::from_chars(first, text_.data() + text_.size(), value);
    if (result.ec != std::errc())
        return false;
    pos_ += size_t(result.ptr - first);
    return true;
}

bool TextCursor::readUnsigned(uint64_t& value) { return readInteger(value); }
bool TextCursor::readSigned(int64_t& value) { return readInteger(value); }

bool TextCursor::readHex(uint64_t& value, size_t& digits)
{
    const char* first = text_.data() + pos_;
    const auto result = std::from_chars(first, text_.data() + text_.size(), value, 16);
    if (result.ec != std::errc())
        return false;
    digits = size_t(result.ptr - first);
    pos_ += digits;
    return true;
}

bool TextCursor::readDouble(double& value)
{
    skipSpaces();
    size_t start = pos_;
    if (peek() == '+') // from_chars takes no explicit plus sign
        ++start;
    const char* first = text_.data() + start;
    const auto result = std::from_chars(first, text_.data() + text_.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Beyond the range of doubles (seen in the limits of long text
        // signals): take what strtod makes of it, an infinity or zero.
        value = std::strtod(std::string(first, result.ptr).c_str(), nullptr);
    } else if (result.ec != std::errc()) {
        return false;
    }
    pos_ = start + size_t(result.ptr - first);
    return true;
}

bool TextCursor::readQuoted(std::string& value)
{
    if (!consume('"'))
        return false;
    value.clear();
    while (!atEnd()) {
        char c = text_[pos_++];
        if (c == '"')
            return true;
        if (c == '\\' && !atEnd())
            c = text_[pos_++];
        value.push_back(c);
    }
    return false; // unterminated
}

bool TextCursor::readTimestamp(uint64_t& micros)
{
    skipSpaces();
    const char* p = text_.data() + pos_;
    if (!scanTimestamp(p, text_.data() + text_.size(), micros))
        return false;
    pos_ = size_t(p - text_.data());
    return true;
}

bool TextCursor::scanHexBytes(std::string_view text, uint8_t* out, size_t limit, size_t& length)
{
    // Candump payloads go through here for every line of large logs: a table
    // takes both digits of a pair without a branch per character class.
    const unsigned char* p = reinterpret_cast<const unsigned char*>(text.data());
    const unsigned char* const end = p + text.size();
    size_t count = 0;
    while (p < end) {
        if (*p == '.') {
            ++p;
            continue;
        }
        if (end - p < 2 || count == limit)
            return false;
        const int high = hexDigits[p[0]], low = hexDigits[p[1]];
        if ((high | low) < 0)
            return false;
        out[count++] = static_cast<uint8_t>(high << 4 | low);
        p += 2;
    }
    length = count;
    return true;
}

} // namespace rksignal
