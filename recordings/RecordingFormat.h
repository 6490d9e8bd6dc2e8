// RecordingFormat: one row of the table of recording formats: the format's
// name, how a file of it is recognised (by its first bytes, then by the end
// of its name), and how it is opened.
#pragma once

#include "recordings/RecordingReader.h"
#include "recordings/RecordingSetup.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace rksignal {

struct RecordingFormat {
    // The reader of `path`; null, with what went wrong in `error` (without
    // the path), when the file cannot be opened.
    using Open = std::unique_ptr<RecordingReader> (*)(const std::string& path, const RecordingSetup& setup,
                                                      std::string& error);
    // True when a file that starts with the `size` bytes at `head` is of
    // this format (its magic number); null for formats without one.
    using HasMagic = bool (*)(const unsigned char* head, size_t size);

    const char* name;
    HasMagic hasMagic;
    std::vector<std::string> extensions; // name endings, e.g. ".nmea"
    // `--channel NAME=N` with NAME a file of this format gives the whole
    // file channel N (otherwise NAME is a candump interface).
    bool channelPerFile;
    Open open;
    // False for readers that need the file itself (libpcap): a compressed
    // file of such a format is decompressed into memory first.
    bool streams = true;
};

} // namespace rksignal
