// AscReader: the lines of an ASCII log of the common CAN logging tools
// (".asc") into CAN frames:
//
//   date <weekday> <month> <day> <hh:mm:ss.fff> [am|pm] <year>
//   base hex|dec  timestamps absolute|relative
//   Begin Triggerblock <date>
//   <time> <channel> <id>[x] Rx|Tx d <dlc> <bytes...> [...]
//   <time> CANFD <channel> Rx|Tx <id>[x] [<name>] <brs> <esi> <dlc> <length> <bytes...> [...]
//   End TriggerBlock
//
// Times are seconds after the last date (the trigger block's, else the
// file's), taken as UTC; with "timestamps relative", after the previous
// line. Channel c of the file becomes channel c + N - 1 for a file given
// channel N (1 unless `--channel FILE=N`). Remote and error frames are
// skipped and counted; statistics, comments and events are skipped.
//
// Not thread-safe; one per recording.
#pragma once

#include "recordings/LogLineParser.h"
#include "recordings/LogText.h"

#include <memory>
#include <string>

namespace rksignal {

class AscReader : public LogLineParser {
public:
    explicit AscReader(uint8_t fileChannel = 1, RecordingReport* report = nullptr, std::string path = "")
        : LogLineParser(fileChannel, report, std::move(path))
    {
    }

    static bool hasMagic(const unsigned char* head, size_t size);

    Result parseLine(std::string_view line, RecordedMessage& message, const char*& reason) override;

private:
    Result header(std::string_view keyword, std::string_view rest);
    Result classicFrame(LogText::Words& words, CANExtTraceMessage& frame, const char*& reason);
    Result fdFrame(LogText::Words& words, CANExtTraceMessage& frame, const char*& reason);
    bool channel(std::string_view text, CANExtTraceMessage& frame);
    bool identifier(std::string_view text, CANExtTraceMessage& frame);
    bool bytes(LogText::Words& words, unsigned count, CANExtTraceMessage& frame);

    unsigned base_ = 16;
    bool relative_ = false;
    uint64_t start_ = 0;
    uint64_t previous_ = 0;
};

} // namespace rksignal
