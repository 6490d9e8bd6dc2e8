// LineRecording: a text recording (candump log, NMEA log, trace lines) read
// line by line through the parser of its format. Blank lines are skipped;
// bad lines go to the report and reading goes on; a file that cannot be
// read to its end (bad compressed data) is an error of the run.
//
// Not thread-safe; one per input.
#pragma once

#include "recordings/LineParser.h"
#include "recordings/LineReader.h"
#include "recordings/RecordingReader.h"
#include "recordings/RecordingReport.h"
#include "recordings/RecordingSetup.h"

#include <memory>
#include <string>

namespace rksignal {

class LineRecording : public RecordingReader {
public:
    // `parser` must outlive the recording; several recordings of one format
    // may share one parser (candump logs share their interface numbering).
    LineRecording(const std::string& path, LineParser& parser, RecordingReport& report);
    // A recording with a parser of its own.
    LineRecording(const std::string& path, std::unique_ptr<LineParser> parser, RecordingReport& report);

    // The recording of `path` with a `Parser` of its own, as the table of
    // recording formats opens it; null, with the system's reason in `error`,
    // when the file cannot be opened.
    template <class Parser>
    static std::unique_ptr<RecordingReader> open(const std::string& path, const RecordingSetup& setup,
                                                 std::string& error)
    {
        return opened(std::make_unique<LineRecording>(path, std::make_unique<Parser>(), setup.report), error);
    }
    // `recording` when it is open; otherwise null, with the reason in `error`.
    static std::unique_ptr<RecordingReader> opened(std::unique_ptr<LineRecording> recording, std::string& error);

    bool isOpen() const { return reader_.isOpen(); }

    bool next() override;
    const RecordedMessage& message() const override { return message_; }
    uint64_t bytesConsumed() const override { return reader_.bytesConsumed(); }
    uint64_t fileSize() const override { return reader_.fileSize(); }

private:
    std::string path_;
    LineReader reader_;
    std::unique_ptr<LineParser> ownParser_;
    LineParser& parser_;
    RecordingReport& report_;
    RecordedMessage message_;
    bool errorReported_ = false;
};

} // namespace rksignal
