// TextCursor: reads tokens from one bounded range of text, never past its
// end. Shared by the tool's readers (DBC, candump and trace lines).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class TextCursor {
public:
    explicit TextCursor(std::string_view text) : text_(text) {}

    bool atEnd() const { return pos_ >= text_.size(); }
    char peek() const { return atEnd() ? '\0' : text_[pos_]; }
    size_t position() const { return pos_; }
    std::string_view rest() const { return text_.substr(pos_); }

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

private:
    template <class Integer>
    bool readInteger(Integer& value);

    std::string_view text_;
    size_t pos_ = 0;
};
