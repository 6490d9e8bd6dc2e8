// RecordingMerge: several recordings read as one, in time-stamp order: a
// k-way merge that always hands out the earliest of the recordings' next
// messages. Each recording keeps its own order (a time stamp going back
// within one file is taken as it comes); equal time stamps go in the order
// the recordings were given.
//
// Not thread-safe; one per run.
#pragma once

#include "recordings/RecordingReader.h"

#include <memory>
#include <vector>

namespace rksignal {

class RecordingMerge : public RecordingReader {
public:
    explicit RecordingMerge(std::vector<std::unique_ptr<RecordingReader>> recordings);

    bool next() override;
    const RecordedMessage& message() const override { return current_->message(); }
    uint64_t bytesConsumed() const override;
    uint64_t fileSize() const override;

private:
    std::vector<std::unique_ptr<RecordingReader>> recordings_;
    // The recordings that still have a message waiting, in the order given.
    std::vector<RecordingReader*> waiting_;
    RecordingReader* current_ = nullptr;
    bool started_ = false;
};

} // namespace rksignal
