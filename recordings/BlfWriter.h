// BlfWriter: messages as a binary logging file: CAN frames as CAN_MESSAGE,
// CAN FD frames as CAN_FD_MESSAGE, LIN frames as LIN_MESSAGE, Ethernet
// frames as ETHERNET_FRAME_EX and FlexRay frames as FR_RCVMESSAGE_EX, with
// time stamps in nanoseconds after the measurement start (the first
// message's time cut to milliseconds, as UTC), packed into zlib-compressed
// LOG_CONTAINER objects of 128 KiB. The file header's sizes and counts are
// written at the end, so the output must be a regular file.
//
// Not thread-safe; one per output file.
#pragma once

#include "recordings/RecordingWriter.h"

#include <cstdint>
#include <vector>

namespace rksignal {

class BlfWriter : public RecordingWriter {
public:
    explicit BlfWriter(FILE* file);

    bool write(const RecordedMessage& message) override;

private:
    void object(uint32_t type, uint64_t timestamp, const std::vector<unsigned char>& body);
    void flushContainers(bool all);
    void writeHeader();
    void complete() override;

    bool started_ = false;
    uint64_t start_ = 0;
    uint64_t last_ = 0;
    uint32_t objects_ = 0;
    uint64_t uncompressedSize_ = 0;
    std::vector<unsigned char> container_;
    std::vector<unsigned char> body_;
    std::vector<unsigned char> compressed_;
};

} // namespace rksignal
