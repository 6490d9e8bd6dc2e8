// RecordingWriter: writes messages into a recording file of one format
// (candump log, ASC, BLF, pcapng), for `rksignal convert`. Messages come in
// time order; a message of a kind the format cannot hold is refused and
// left to the caller to count.
//
// Not thread-safe; one per output file.
#pragma once

#include "recordings/RecordedMessage.h"

#include <cstdio>
#include <string>

namespace rksignal {

class RecordingWriter {
public:
    // Takes `file` (open for writing) and closes it.
    explicit RecordingWriter(FILE* file) : file_(file) {}
    virtual ~RecordingWriter();
    RecordingWriter(const RecordingWriter&) = delete;
    RecordingWriter& operator=(const RecordingWriter&) = delete;

    // False when the format cannot hold a message of this kind.
    virtual bool write(const RecordedMessage& message) = 0;
    // Completes and closes the file; false, with the system's reason in
    // `error`, when it could not be written.
    bool finish(std::string& error);

protected:
    // What the format writes after the last message (totals, a trailer).
    virtual void complete() {}

    FILE* file_;
};

} // namespace rksignal
