// RecordingFormats: the table of every recording format the decoder reads,
// and the rule that picks a file's format: its first bytes (a magic number,
// or the opening words of a text format) first, whatever the file's name;
// then the end of its name; and the fallback format (candump logs) for
// anything else and for "-", standard input.
//
// A gzip, zstd or xz compressed file is judged by its decompressed first
// bytes and by its name without the compression's ending (".asc.gz" is
// ASC); a compressed file that neither names is not read, with an error
// that says so, rather than taken for a candump log.
//
// Adding a format is its reader (a RecordingReader with a static open
// function, or a LineParser for LineRecording::open) and one row in
// RecordingFormats.cpp.
//
// Thread safety: the table is constant; calls are independent.
#pragma once

#include "recordings/RecordingFormat.h"

#include <string>
#include <vector>

namespace rksignal {

class RecordingFormats {
public:
    // Every format, in the order in which they are tried.
    static const std::vector<RecordingFormat>& all();
    // The format read for anything no other format recognises.
    static const RecordingFormat& fallback();
    // The format of the file at `path` (a file that cannot be read is
    // judged by its name).
    static const RecordingFormat& of(const std::string& path);
    // The reader of `path` in its format; null, with the reason in `error`.
    static std::unique_ptr<RecordingReader> open(const std::string& path, const RecordingSetup& setup,
                                                 std::string& error);
};

} // namespace rksignal
