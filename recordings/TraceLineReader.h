// TraceLineReader: the lines of a trace-line recording (docs/trace-lines.md),
// the tool's text form for the messages that have no common open recording
// format: LIN and FlexRay frames and the logger's own GPIO, analog, key and
// system messages. One message a line:
//
//   (<seconds>.<fraction>) <KIND> <fields...>
//
// Lines starting with '#' are comments.
//
// Not thread-safe; one reader per recording.
#pragma once

#include "definitions/TextCursor.h"
#include "recordings/LineParser.h"

namespace rksignal {

class TraceLineReader : public LineParser {
public:
    Result parseLine(std::string_view line, RecordedMessage& message, const char*& reason) override;

private:
    // One per kind: reads the fields after the kind word into `message`;
    // false with `reason` set when a field is wrong.
    static bool lin(TextCursor& cursor, RecordedMessage& message, const char*& reason);
    static bool flexRay(TextCursor& cursor, RecordedMessage& message, const char*& reason);
    static bool gpio(TextCursor& cursor, RecordedMessage& message, const char*& reason);
    static bool analog(TextCursor& cursor, RecordedMessage& message, const char*& reason);
    static bool keyboard(TextCursor& cursor, RecordedMessage& message, const char*& reason);
    static bool system(TextCursor& cursor, RecordedMessage& message, const char*& reason);
    static bool usage(TextCursor& cursor, RecordedMessage& message, const char*& reason);
};

} // namespace rksignal
