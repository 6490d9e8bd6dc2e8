// WindowFiles: the windows of `rksignal cut` as files of a directory: each
// window a recording of its own, DIR/window-0001.EXT, ... in the format of
// the ending EXT (see RecordingWriters), and the index DIR/windows.csv:
// "window,file,first,last,trigger,firing,frames", one row per window, the
// header alone when there is none.
//
// Not thread-safe; one per run.
#pragma once

#include "decode/TriggerWindows.h"
#include "output/OutputBuffer.h"
#include "output/TimeText.h"
#include "recordings/RecordingWriter.h"
#include "recordings/RecordingWriters.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace rksignal {

class WindowFiles : public WindowSink {
public:
    // `interfaceNames`: candump interface names of channels.
    WindowFiles(std::string directory, std::string ending, InterfaceNames interfaceNames);
    ~WindowFiles() override;

    // Creates the directory (when missing) and the index; false, with the
    // reason in `error`, when it cannot.
    bool create(std::string& error);
    // Completes the index; false, with the reason in `error`, when a file
    // could not be written.
    bool finish(std::string& error);
    // Messages of a kind the output format cannot hold, left out.
    uint64_t skipped() const { return skipped_; }

    void begin(const TriggerWindow& window) override;
    void write(const RecordedMessage& message) override;
    void end(const TriggerWindow& window) override;

private:
    std::string fileName(size_t number) const;

    const std::string directory_, ending_;
    const InterfaceNames interfaceNames_;
    int indexFd_ = -1;
    std::unique_ptr<OutputBuffer> index_;
    TimeText time_;
    std::unique_ptr<RecordingWriter> writer_;
    std::string error_; // the first file that failed
    uint64_t skipped_ = 0;
};

} // namespace rksignal
