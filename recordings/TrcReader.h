// TrcReader: the lines of a CAN trace file of the PC interface tools
// (".trc"), versions 1.0 to 2.1, into CAN and CAN FD frames. The header
// comments give the version (";$FILEVERSION=", none for 1.0), the start
// time (";$STARTTIME=", days since 1899-12-30, taken as UTC) and, from 2.0
// on, the columns (";$COLUMNS="); each version without its own column list
// has its fixed one. Time offsets are milliseconds after the start time.
// The bus column numbers the channels (1 without it); channel c becomes
// c + N - 1 for a file given channel N. Remote and error frames are skipped
// and counted; status and event lines are skipped.
//
// Not thread-safe; one per recording.
#pragma once

#include "recordings/LogLineParser.h"
#include "recordings/LogText.h"

#include <memory>
#include <string>

namespace rksignal {

class TrcReader : public LogLineParser {
public:
    explicit TrcReader(uint8_t fileChannel = 1, RecordingReport* report = nullptr, std::string path = "")
        : LogLineParser(fileChannel, report, std::move(path))
    {
    }

    static bool hasMagic(const unsigned char* head, size_t size);

    Result parseLine(std::string_view line, RecordedMessage& message, const char*& reason) override;

private:
    void header(std::string_view line);
    Result frame(std::string_view line, CANExtTraceMessage& frame, const char*& reason);
    // Classic, CAN FD, or nothing to decode (counted where it is a frame).
    enum Kind { Classic, Fd, None };
    Kind kindOf(std::string_view type);

    // One letter a column: N number, O offset, T type, B bus, I identifier,
    // d direction, R reserved, L data length code, l data length, D data.
    char columns_[16] = "NOILD";
    uint64_t start_ = 0;
};

} // namespace rksignal
