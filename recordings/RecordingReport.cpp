#include "recordings/RecordingReport.h"

#include <cstdio>

namespace rksignal {

namespace {

// Length of the well-formed UTF-8 sequence at `at` that is not a C1
// control character; 0 when there is none.
size_t utf8Length(std::string_view text, size_t at)
{
    const auto byte = [&](size_t i) { return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u; };
    const auto continuation = [&](size_t i, unsigned low = 0x80, unsigned high = 0xbf) {
        return byte(i) >= low && byte(i) <= high;
    };
    const unsigned lead = byte(0);
    if (lead == 0xc2)
        return continuation(1, 0xa0) ? 2 : 0; // U+0080..U+009F are the C1 controls
    if (lead >= 0xc3 && lead <= 0xdf)
        return continuation(1) ? 2 : 0;
    if (lead >= 0xe0 && lead <= 0xef) {
        const bool second = lead == 0xe0 ? continuation(1, 0xa0) : lead == 0xed ? continuation(1, 0x80, 0x9f)
                                                                                 : continuation(1);
        return second && continuation(2) ? 3 : 0;
    }
    if (lead >= 0xf0 && lead <= 0xf4) {
        const bool second = lead == 0xf0 ? continuation(1, 0x90) : lead == 0xf4 ? continuation(1, 0x80, 0x8f)
                                                                                 : continuation(1);
        return second && continuation(2) && continuation(3) ? 4 : 0;
    }
    return 0;
}

} // namespace

std::string RecordingReport::printable(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[at]);
        if (c >= 0x20 && c < 0x7f) {
            if (c == '\\')
                out += '\\';
            out += char(c);
            ++at;
        } else if (const size_t length = c >= 0x80 ? utf8Length(text, at) : 0) {
            out.append(text.substr(at, length));
            at += length;
        } else {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
            out += escaped;
            ++at;
        }
    }
    return out;
}

void RecordingReport::badLine(const std::string& path, uint64_t lineNumber, std::string_view line,
                              const char* reason)
{
    ++badLines_;
    if (!reportNext())
        return;
    out_ << "rksignal: " << printable(path) << ":" << lineNumber << ": bad line (" << reason
         << "): " << printable(line.substr(0, 80)) << (line.size() > 80 ? "..." : "") << std::endl;
}

void RecordingReport::badPacket(const std::string& path, uint64_t packetNumber, const char* reason)
{
    ++badPackets_;
    if (!reportNext())
        return;
    out_ << "rksignal: " << printable(path) << ": packet " << packetNumber << ": bad packet (" << reason << ")"
         << std::endl;
}

void RecordingReport::warning(const std::string& path, const std::string& text)
{
    out_ << "rksignal: " << printable(path) << ": warning: " << printable(text) << std::endl;
}

void RecordingReport::error(const std::string& path, const std::string& text)
{
    failed_ = true;
    out_ << "rksignal: " << printable(path) << ": " << printable(text) << std::endl;
}

} // namespace rksignal
