#include "definitions/Utf8Text.h"

#include <cstdint>

namespace rksignal {

namespace {

// Code page 1252 bytes 0x80..0x9F; the others equal their Latin-1 code point.
const uint16_t cp1252High[32] = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0xFFFD,
    0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A,
    0x0153, 0xFFFD, 0x017E, 0x0178};

void appendCodePoint(std::string& out, unsigned code)
{
    if (code < 0x80) {
        out += char(code);
    } else if (code < 0x800) {
        out += char(0xC0 | (code >> 6));
        out += char(0x80 | (code & 0x3F));
    } else {
        out += char(0xE0 | (code >> 12));
        out += char(0x80 | ((code >> 6) & 0x3F));
        out += char(0x80 | (code & 0x3F));
    }
}

} // namespace

bool Utf8Text::valid(std::string_view text)
{
    for (size_t i = 0; i < text.size();) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        size_t extra;
        unsigned code;
        if (lead < 0x80) {
            ++i;
            continue;
        } else if (lead >= 0xC2 && lead <= 0xDF) {
            extra = 1, code = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            extra = 2, code = lead & 0x0F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            extra = 3, code = lead & 0x07;
        } else {
            return false;
        }
        if (i + extra >= text.size())
            return false;
        for (size_t k = 1; k <= extra; ++k) {
            const unsigned char next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80)
                return false;
            code = code << 6 | (next & 0x3F);
        }
        // Overlong forms, surrogates and code points past U+10FFFF.
        if ((extra == 2 && (code < 0x800 || (code >= 0xD800 && code <= 0xDFFF))) ||
            (extra == 3 && (code < 0x10000 || code > 0x10FFFF)))
            return false;
        i += extra + 1;
    }
    return true;
}

bool Utf8Text::ensure(std::string& text)
{
    if (valid(text))
        return false;
    std::string converted;
    converted.reserve(text.size() * 2);
    for (unsigned char c : text)
        appendCodePoint(converted, c >= 0x80 && c < 0xA0 ? cp1252High[c - 0x80] : c);
    text.swap(converted);
    return true;
}

} // namespace rksignal
