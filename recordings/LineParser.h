// LineParser: turns the lines of one text recording format (candump, NMEA,
// trace lines) into messages, for a LineRecording.
//
// Not thread-safe; a parser may keep state from line to line.
#pragma once

#include "recordings/RecordedMessage.h"

#include <string_view>

namespace rksignal {

class LineParser {
public:
    enum Result { Message, Skipped, Bad };

    virtual ~LineParser() = default;
    // Parses one non-empty line (its line end removed) into `message`. On
    // Bad, `reason` says what was wrong; it points to a static text.
    virtual Result parseLine(std::string_view line, RecordedMessage& message, const char*& reason) = 0;
    // After the last line: a message the parser still holds (the sentences
    // of a fix it was collecting); false when there is none.
    virtual bool finish(RecordedMessage& message)
    {
        (void)message;
        return false;
    }
};

} // namespace rksignal
