#include "recordings/LineRecording.h"

namespace rksignal {

LineRecording::LineRecording(const std::string& path, LineParser& parser, RecordingReport& report)
    : path_(path), reader_(path), parser_(parser), report_(report)
{
}

LineRecording::LineRecording(const std::string& path, std::unique_ptr<LineParser> parser, RecordingReport& report)
    : path_(path), reader_(path), ownParser_(std::move(parser)), parser_(*ownParser_), report_(report)
{
}

std::unique_ptr<RecordingReader> LineRecording::opened(std::unique_ptr<LineRecording> recording, std::string& error)
{
    if (recording->isOpen())
        return recording;
    error = recording->reader_.error();
    return nullptr;
}

bool LineRecording::next()
{
    std::string_view line;
    while (reader_.next(line)) {
        if (line.empty())
            continue;
        const char* reason = "";
        switch (parser_.parseLine(line, message_, reason)) {
        case LineParser::Message:
            return true;
        case LineParser::Skipped:
            break;
        case LineParser::Bad:
            report_.badLine(path_, reader_.lineNumber(), line, reason);
            break;
        }
    }
    if (!reader_.error().empty() && !errorReported_) {
        errorReported_ = true;
        report_.error(path_, reader_.error());
    }
    return parser_.finish(message_);
}

} // namespace rksignal
