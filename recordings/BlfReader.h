// BlfReader: a binary logging file (".blf") of the common CAN logging
// tools, read as a stream: the file header (its measurement start time,
// taken as UTC), then objects, most of them inside LOG_CONTAINER objects
// whose contents are zlib-compressed and may split an object across two
// containers.
//
// Objects become trace messages: CAN_MESSAGE and CAN_MESSAGE2 classic CAN
// frames, CAN_FD_MESSAGE and CAN_FD_MESSAGE_64 CAN FD (or classic) frames,
// LIN_MESSAGE LIN frames, ETHERNET_FRAME and ETHERNET_FRAME_EX Ethernet
// frames, FR_RCVMESSAGE and FR_RCVMESSAGE_EX FlexRay frames (static or
// dynamic segment as the object says). Time stamps in 10 µs or 1 ns units
// are added to the start time. Object channel c becomes channel c + N - 1
// for a file given channel N. Remote frames, error frames, null frames and
// objects of other kinds are skipped and counted.
//
// Memory holds one container (compressed and decompressed) and the part of
// an object that continues in the next container; it does not grow with
// the file.
//
// Not thread-safe; one per recording.
#pragma once

#include "recordings/ByteStream.h"
#include "recordings/RecordingReader.h"
#include "recordings/RecordingReport.h"
#include "recordings/RecordingSetup.h"
#include "recordings/SkippedFrames.h"

#include <memory>
#include <string>
#include <vector>

namespace rksignal {

class BlfReader : public RecordingReader {
public:
    BlfReader(const std::string& path, uint8_t fileChannel, RecordingReport& report);

    static bool hasMagic(const unsigned char* head, size_t size);
    static std::unique_ptr<RecordingReader> open(const std::string& path, const RecordingSetup& setup,
                                                 std::string& error);

    // False, with the reason in openError(), when the file cannot be opened
    // or does not start with a file header.
    bool isOpen() const { return openError_.empty(); }
    const std::string& openError() const { return openError_; }

    bool next() override;
    const RecordedMessage& message() const override { return message_; }
    uint64_t bytesConsumed() const override { return stream_.bytesConsumed(); }
    uint64_t fileSize() const override { return stream_.fileSize(); }

    const SkippedFrames& skipped() const { return skipped_; }

private:
    enum Result { Message, Skipped, NeedMore, Failed };

    bool readHeader();
    bool readOuterObject();
    bool unpackContainer(const unsigned char* body, size_t size);
    Result nextObject();
    Result convert(uint32_t type, const unsigned char* body, size_t size, uint64_t timestamp);
    Result can(const unsigned char* body, size_t size, uint64_t timestamp);
    Result canFd(const unsigned char* body, size_t size, uint64_t timestamp);
    Result canFd64(const unsigned char* body, size_t size, uint64_t timestamp);
    Result lin(const unsigned char* body, size_t size, uint64_t timestamp);
    Result ethernet(const unsigned char* body, size_t size, uint64_t timestamp);
    Result ethernetEx(const unsigned char* body, size_t size, uint64_t timestamp);
    Result ethernetFields(const unsigned char* body, size_t size, size_t channelAt, uint64_t timestamp,
                          size_t& length);
    static constexpr size_t ethernetFieldBytes = 32;
    Result flexRay(const unsigned char* body, size_t size, uint64_t timestamp, size_t dataOffset);
    Result canFrame(uint16_t channel, uint32_t id, bool fd, const unsigned char* data, size_t length,
                    uint64_t timestamp);
    bool channelOf(uint16_t objectChannel, uint8_t& channel) const;
    bool fail(const std::string& text);
    Result bad(const char* reason);

    std::string path_;
    uint8_t fileChannel_;
    RecordingReport& report_;
    ByteStream stream_;
    std::string openError_;
    uint64_t start_ = 0;
    // Objects not yet handed out: the contents of the last containers,
    // from `innerBegin_` on.
    std::vector<unsigned char> inner_;
    size_t innerBegin_ = 0;
    std::vector<unsigned char> outer_;
    uint64_t objects_ = 0;
    bool ended_ = false;
    bool skippedReported_ = false;
    RecordedMessage message_;
    SkippedFrames skipped_;
};

} // namespace rksignal
