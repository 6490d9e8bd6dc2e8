// DecodeRun: one decoding of recordings for Python: a Decoder whose rows are
// taken in chunks of columns (ColumnBuilder) or written to a file in one of
// the tool's output formats. Problems raise the package's exceptions:
// definitions or triggers that do not load, recordings that cannot be read.
//
// The library allows one decoder per process at a time: a second run started
// while one is open raises rksignal.Error until the first is closed. Not
// thread-safe; the GIL is released while decoding.
#pragma once

#include "decode/Decoder.h"
#include "python/bindings/ColumnBuilder.h"

#include <pybind11/pybind11.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace rksignal {

struct DefinitionSet;

class DecodeRun {
public:
    DecodeRun(DecodeOptions options, const DefinitionSet& definitions);

    // The next rows, at most `maxRows` (0: all that are left), as the columns
    // of ColumnBuilder::take(); no rows at the end. Raises RecordingError
    // once the end is reached when a recording failed on the way.
    pybind11::dict read(size_t maxRows);
    // Writes every row left to `path` in an output format of the tool
    // ("csv", "jsonl", "table"); returns the number of rows.
    uint64_t write(const std::string& path, const std::string& format);
    // Decodes every row left without keeping any; returns their number.
    uint64_t count();
    // Frames, bad lines and packets, writes, triggers fired, the warnings of
    // the load and the messages about the recordings so far.
    pybind11::dict summary() const;
    // Lets the decoder go (and with it the process's claim on signals).
    void close();

private:
    Decoder& decoder();
    void failOnReadErrors();

    std::ostringstream messages_; // lines about the recordings
    std::unique_ptr<Decoder> decoder_;
    std::vector<std::string> warnings_;
    ColumnBuilder columns_;
    uint64_t rows_ = 0;
};

} // namespace rksignal
