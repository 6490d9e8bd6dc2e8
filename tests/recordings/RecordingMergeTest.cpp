// Recordings merged in time-stamp order.
#include "recordings/RecordingMerge.h"

#include <gtest/gtest.h>

using namespace rksignal;

namespace {

// A recording of CAN frames at given times; the identifier names the frame.
class ListedRecording : public RecordingReader {
public:
    ListedRecording(std::vector<std::pair<uint64_t, uint32_t>> frames) : frames_(std::move(frames)) {}
    bool next() override
    {
        if (next_ == frames_.size())
            return false;
        message_.can.timestamp = frames_[next_].first;
        message_.can.canId = frames_[next_++].second;
        return true;
    }
    const RecordedMessage& message() const override { return message_; }
    uint64_t bytesConsumed() const override { return next_; }
    uint64_t fileSize() const override { return frames_.size(); }

private:
    std::vector<std::pair<uint64_t, uint32_t>> frames_;
    size_t next_ = 0;
    RecordedMessage message_;
};

} // namespace

TEST(RecordingMerge, EarliestFirstTiesInGivenOrderFileOrderKept)
{
    std::vector<std::unique_ptr<RecordingReader>> recordings;
    recordings.push_back(std::make_unique<ListedRecording>(
        std::vector<std::pair<uint64_t, uint32_t>>{{10, 1}, {30, 2}, {20, 3}, {50, 4}})); // goes back once
    recordings.push_back(std::make_unique<ListedRecording>(std::vector<std::pair<uint64_t, uint32_t>>{}));
    recordings.push_back(std::make_unique<ListedRecording>(
        std::vector<std::pair<uint64_t, uint32_t>>{{5, 10}, {30, 11}, {60, 12}}));
    RecordingMerge merge(std::move(recordings));
    EXPECT_EQ(merge.fileSize(), 7u);

    std::vector<uint32_t> order;
    while (merge.next())
        order.push_back(merge.message().can.canId);
    // 30 of the first recording before 30 of the third; 20 only after the
    // first recording's 30, which precedes it in its file.
    EXPECT_EQ(order, (std::vector<uint32_t>{10, 1, 2, 3, 11, 4, 12}));
    EXPECT_EQ(merge.bytesConsumed(), 7u);
    EXPECT_FALSE(merge.next());
}
