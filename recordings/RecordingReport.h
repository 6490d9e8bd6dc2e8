// RecordingReport: what went wrong while the recordings were read. Bad lines
// and packets are counted and the first few reported with where they are;
// parts that cannot be decoded are reported as warnings; read errors are
// reported and make the run fail. Everything goes to one stream, standard
// error unless given, so that it never mixes with the rows on standard
// output.
//
// Not thread-safe; one per run.
#pragma once

#include <cstdint>
#include <iostream>
#include <string>
#include <string_view>

namespace rksignal {

class RecordingReport {
public:
    static constexpr uint64_t maxReported = 10;

    explicit RecordingReport(std::ostream& out = std::cerr) : out_(out) {}

    // Text that is safe to print on a terminal: control characters (C0 and
    // C1), bytes that are not UTF-8 and the backslash itself written as
    // "\xhh" ("\\" for the backslash); well-formed UTF-8 kept.
    static std::string printable(std::string_view text);

    // "rksignal: <path>:<line>: bad line (<reason>): <line, cut at 80>", the
    // path and the line printable.
    void badLine(const std::string& path, uint64_t lineNumber, std::string_view line, const char* reason);
    // "rksignal: <path>: packet <number>: bad packet (<reason>)", the path printable.
    void badPacket(const std::string& path, uint64_t packetNumber, const char* reason);
    // "rksignal: <path>: warning: <text>", both printable.
    void warning(const std::string& path, const std::string& text);
    // "rksignal: <path>: <text>", both printable; the run ends with exit
    // status 1.
    void error(const std::string& path, const std::string& text);

    uint64_t badLines() const { return badLines_; }
    uint64_t badPackets() const { return badPackets_; }
    bool failed() const { return failed_; }

private:
    bool reportNext() { return ++reported_ <= maxReported; }

    std::ostream& out_;
    uint64_t badLines_ = 0;
    uint64_t badPackets_ = 0;
    uint64_t reported_ = 0;
    bool failed_ = false;
};

} // namespace rksignal
