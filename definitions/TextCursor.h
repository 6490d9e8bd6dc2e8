// TextCursor: reads tokens from one bounded range of text, never past its
// end. Shared by the text readers of definitions and recordings (DBC,
// candump, NMEA and trace lines).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace rksignal {

class TextCursor {
public:
    explicit TextCursor(std::string_view text) : text_(text) {}

    bool atEnd() const { return pos_ >= text_.size(); }
    char peek() const { return atEnd() ? '\0' : text_[pos_]; }
    size_t position() const { return pos_; }
    std::string_view rest() const { return text_.substr(pos_); }
    // The rest of the text after spaces, consumed.
    std::string_view readRest()
    {
        skipSpaces();
        const std::string_view text = rest();
        pos_ = text_.size();
        return text;
    }

    void skipSpaces();
    // Consumes `c` (after spaces) when it is next.
    bool consume(char c);
    // Consumes `word` (after spaces) when the text continues with it.
    bool consumeWord(std::string_view word);
    // Letters, digits and underscores (after spaces); empty when none.
    std::string_view readIdentifier();
    // Characters up to the next space or one of `stops` (after spaces).
    std::string_view readToken(std::string_view stops = "");
    bool readUnsigned(uint64_t& value);
    bool readSigned(int64_t& value);
    bool readHex(uint64_t& value, size_t& digits);
    // Decimal or exponent notation, with an optional sign.
    bool readDouble(double& value);
    // A double-quoted string; backslash escapes the next character.
    bool readQuoted(std::string& value);
    // "(<seconds>.<fraction>)" (after spaces), the time stamp of the text
    // recordings, in microseconds.
    bool readTimestamp(uint64_t& micros);

    // The value of a hexadecimal digit, -1 for any other character.
    static int hexDigit(char c) { return hexDigits[static_cast<unsigned char>(c)]; }

    // "(<seconds>.<fraction>)" at [p, end) to microseconds; fraction digits
    // beyond six are cut. Advances `p` past it on success. Inline because
    // the candump scan runs it for every line of recordings of millions.
    static bool scanTimestamp(const char*& p, const char* end, uint64_t& micros)
    {
        const char* q = p;
        if (q == end || *q != '(')
            return false;
        ++q;
        uint64_t seconds = 0;
        int digits = 0;
        for (; q < end && isDigit(*q); ++q, ++digits) {
            if (seconds > (UINT64_MAX / 1000000u - 1) / 10)
                return false;
            seconds = seconds * 10 + uint64_t(*q - '0');
        }
        if (digits == 0 || q == end || *q != '.')
            return false;
        ++q;
        uint64_t fraction = 0;
        digits = 0;
        for (; q < end && isDigit(*q); ++q, ++digits)
            if (digits < 6)
                fraction = fraction * 10 + uint64_t(*q - '0');
        if (digits == 0 || q == end || *q != ')')
            return false;
        for (int i = digits; i < 6; ++i)
            fraction *= 10;
        micros = seconds * 1000000u + fraction;
        p = q + 1;
        return true;
    }

    // Hexadecimal byte pairs, optionally separated by '.', into `out`
    // (at most `limit` bytes); false for an odd digit, a non-hex character
    // or more bytes than `limit`.
    static bool scanHexBytes(std::string_view text, uint8_t* out, size_t limit, size_t& length);

private:
    static const std::array<int8_t, 256> hexDigits;

    static bool isDigit(char c) { return c >= '0' && c <= '9'; }

    template <class Integer>
    bool readInteger(Integer& value);

    std::string_view text_;
    size_t pos_ = 0;
};

} // namespace rksignal
