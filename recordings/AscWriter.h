// AscWriter: CAN and CAN FD frames as an ASCII log of the common logging
// tools: a date header and one trigger block, dated at the first frame's
// time cut to milliseconds (written as UTC), hexadecimal, absolute time
// stamps in seconds after that date. A frame earlier than the first is
// written at offset 0.
//
// Not thread-safe; one per output file.
#pragma once

#include "recordings/RecordingWriter.h"

#include <cstdint>

namespace rksignal {

class AscWriter : public RecordingWriter {
public:
    explicit AscWriter(FILE* file) : RecordingWriter(file) {}

    bool write(const RecordedMessage& message) override;

private:
    void header(uint64_t start);
    void complete() override;

    bool started_ = false;
    uint64_t start_ = 0;
};

} // namespace rksignal
