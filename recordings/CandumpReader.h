// CandumpReader: turns the lines of a candump log ("candump -l") into CAN
// frames: "(<sec>.<usec>) <iface> <id>#<data>" for classic frames and
// "<id>##<flags><data>" for CAN FD, 3-digit standard and 8-digit extended
// identifiers. Remote and error frames are skipped.
//
// Not thread-safe: one reader for all candump recordings of a run, so that
// they share the numbering of interfaces.
#pragma once

#include "recordings/LineParser.h"
#include "recordings/RecordingReader.h"
#include "recordings/RecordingSetup.h"
#include "trace/CANExtTraceMessage.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace rksignal {

class CandumpReader : public LineParser {
public:
    enum Result { Frame, Skipped, Bad };

    // A candump log read with the run's one candump parser, as the table of
    // recording formats opens it; "-" reads standard input.
    static std::unique_ptr<RecordingReader> open(const std::string& path, const RecordingSetup& setup,
                                                 std::string& error);

    // True when the text at `head` opens like a candump log: a time stamp
    // "(<seconds>.<fraction>)" then an interface. For compressed files,
    // which are not taken for candump logs on no evidence.
    static bool looksLikeLog(const unsigned char* head, size_t size);

    // Gives an interface a fixed channel number; interfaces not mapped get
    // the next free number in order of first appearance, starting at 1.
    void mapInterface(const std::string& name, uint8_t channel);

    // Parses one line (its line end removed). On Bad, `reason` says what was
    // wrong; it points to a static text.
    Result parseLine(std::string_view line, CANExtTraceMessage& frame, const char*& reason);
    // The same for a LineRecording: the frame becomes a CAN message.
    LineParser::Result parseLine(std::string_view line, RecordedMessage& message, const char*& reason) override;

    const std::vector<std::pair<std::string, uint8_t>>& interfaces() const { return interfaces_; }

private:
    uint8_t channelOf(std::string_view name);

    std::vector<std::pair<std::string, uint8_t>> interfaces_;
    std::vector<bool> used_ = std::vector<bool>(256, false);
    uint8_t fdFlags_ = 0;
};

} // namespace rksignal
