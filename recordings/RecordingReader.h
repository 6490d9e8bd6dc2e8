// RecordingReader: the messages of a recording, one at a time, in the
// order of the file (or, for a merge, in time-stamp order).
//
// Not thread-safe; one reader per input.
#pragma once

#include "recordings/RecordedMessage.h"

#include <cstdint>

namespace rksignal {

class RecordingReader {
public:
    virtual ~RecordingReader() = default;
    // Reads the next message; false at the end, or when reading stopped
    // on an error that the reader has reported.
    virtual bool next() = 0;
    // The message of the last next() that returned true.
    virtual const RecordedMessage& message() const = 0;
    // For the progress display: bytes read so far (at most fileSize()), and
    // the size of the file (0 when unknown, as for a pipe).
    virtual uint64_t bytesConsumed() const = 0;
    virtual uint64_t fileSize() const = 0;
};

} // namespace rksignal
