// SkippedFrames: the frames and objects of a recording that carry nothing to
// decode (remote frames, error frames, objects of kinds the reader does not
// know), counted while reading and reported once at the end as a warning,
// so that a user sees why fewer frames were decoded than the file holds.
//
// Not thread-safe; one per reader.
#pragma once

#include "recordings/RecordingReport.h"

#include <cstdint>
#include <string>

namespace rksignal {

struct SkippedFrames {
    uint64_t remote = 0;
    uint64_t error = 0;
    uint64_t unknown = 0;

    // "rksignal: <path>: warning: skipped <n> remote frames, <n> error
    // frames, <n> objects of unknown kind" (the counts that are not 0);
    // nothing when all are 0.
    void report(RecordingReport& report, const std::string& path) const;
};

} // namespace rksignal
