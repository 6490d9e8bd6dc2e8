#include "recordings/RecordingMerge.h"

#include <algorithm>

namespace rksignal {

RecordingMerge::RecordingMerge(std::vector<std::unique_ptr<RecordingReader>> recordings)
    : recordings_(std::move(recordings))
{
}

bool RecordingMerge::next()
{
    if (!started_) {
        started_ = true;
        for (const auto& recording : recordings_)
            if (recording->next())
                waiting_.push_back(recording.get());
    } else if (current_ && !current_->next()) {
        waiting_.erase(std::find(waiting_.begin(), waiting_.end(), current_));
    }
    // Few recordings are merged at a time: a scan over their waiting
    // messages is as quick as a heap, and keeps ties in the order given.
    current_ = nullptr;
    for (RecordingReader* recording : waiting_)
        if (!current_ || recording->message().timestamp() < current_->message().timestamp())
            current_ = recording;
    return current_ != nullptr;
}

uint64_t RecordingMerge::bytesConsumed() const
{
    uint64_t bytes = 0;
    for (const auto& recording : recordings_)
        bytes += recording->bytesConsumed();
    return bytes;
}

uint64_t RecordingMerge::fileSize() const
{
    uint64_t bytes = 0;
    for (const auto& recording : recordings_)
        bytes += recording->fileSize();
    return bytes;
}

} // namespace rksignal
