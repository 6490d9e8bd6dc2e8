// LogLineParser: what the parsers of the logging tools' text logs (ASC,
// TRC) share: the file's channel offset (channel c of the file becomes
// c + N - 1 for a file given channel N), the count of remote and error frames
// skipped, reported once at the end, and the CAN FD flags of the last frame.
//
// Not thread-safe; one per recording.
#pragma once

#include "recordings/LineParser.h"
#include "recordings/LineRecording.h"
#include "recordings/RecordingReport.h"
#include "recordings/RecordingSetup.h"
#include "recordings/SkippedFrames.h"

#include <memory>
#include <string>

namespace rksignal {

class LogLineParser : public LineParser {
public:
    // `report` gets the count of skipped frames at the end (null: none).
    LogLineParser(uint8_t fileChannel, RecordingReport* report, std::string path);

    // The recording of `path` read with a `Parser` of its own, as the table
    // of recording formats opens it.
    template <class Parser>
    static std::unique_ptr<RecordingReader> open(const std::string& path, const RecordingSetup& setup,
                                                 std::string& error)
    {
        return LineRecording::opened(
            std::make_unique<LineRecording>(path, std::make_unique<Parser>(setup.channel, &setup.report, path),
                                            setup.report),
            error);
    }

    bool finish(RecordedMessage& message) override;
    const SkippedFrames& skipped() const { return skipped_; }

protected:
    // Channel `number` of the file (from 1) as the run's channel; false when
    // that is beyond 255.
    bool channelOf(uint64_t number, uint8_t& channel) const;
    static Result bad(const char*& reason, const char* text)
    {
        reason = text;
        return Bad;
    }

    SkippedFrames skipped_;
    uint8_t fdFlags_ = 0;

private:
    uint8_t fileChannel_;
    RecordingReport* report_;
    std::string path_;
};

} // namespace rksignal
