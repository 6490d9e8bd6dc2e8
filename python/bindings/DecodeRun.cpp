#include "python/bindings/DecodeRun.h"

#include "decode/FrameTableClaim.h"
#include "output/OutputBuffer.h"
#include "output/OutputFormats.h"
#include "python/bindings/PythonErrors.h"

#include <pybind11/stl.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace py = pybind11;

namespace rksignal {

namespace {

// The decoder's message lines without the tool's "rksignal: " prefix.
std::string withoutPrefix(const std::string& lines)
{
    std::string text;
    std::istringstream in(lines);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("rksignal: ", 0) == 0)
            line.erase(0, 10);
        text += (text.empty() ? "" : "\n") + line;
    }
    return text;
}

} // namespace

DecodeRun::DecodeRun(DecodeOptions options, const DefinitionSet& definitions)
    : decoder_(std::make_unique<Decoder>(std::move(options), messages_))
{
    std::string error;
    if (!decoder_->load(definitions, warnings_, error)) {
        decoder_.reset();
        if (error == FrameTableClaim::refused)
            python::raise("Error", "another decoding or live reading of this process is still open: " + error);
        python::raise(error.rfind("--channel", 0) == 0 ? "Error" : "ExpressionError", error);
    }
    decoder_->open();
    failOnReadErrors();
}

Decoder& DecodeRun::decoder()
{
    if (!decoder_)
        python::raise("Error", "the decoding is closed");
    return *decoder_;
}

void DecodeRun::failOnReadErrors()
{
    if (decoder_->report().failed()) {
        const std::string text = withoutPrefix(messages_.str());
        close();
        python::raise("RecordingError", text);
    }
}

py::dict DecodeRun::read(size_t maxRows)
{
    Decoder& run = decoder();
    bool ended = false;
    {
        py::gil_scoped_release unlocked;
        const size_t wanted = maxRows ? maxRows : SIZE_MAX;
        columns_.reserve(std::min<size_t>(wanted, 1 << 16));
        DecodedRow row;
        while (columns_.size() < wanted) {
            if (!run.next(row)) {
                ended = true;
                break;
            }
            columns_.add(row);
        }
        rows_ += columns_.size();
    }
    if (ended)
        failOnReadErrors();
    return columns_.take(run.hasSources());
}

uint64_t DecodeRun::write(const std::string& path, const std::string& formatName)
{
    Decoder& run = decoder();
    const OutputFormat* format = OutputFormats::find(formatName);
    if (!format || !format->create)
        python::raise("Error", "unknown output format " + formatName + ": expected " + OutputFormats::namesText());
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0)
        python::raise("Error", path + ": " + std::strerror(errno));
    bool written = false;
    uint64_t rows = 0;
    {
        py::gil_scoped_release unlocked;
        OutputBuffer out(fd, 1 << 18);
        std::unique_ptr<RowWriter> writer = format->create(out, run.longestShownInstance());
        writer->sources = run.hasSources();
        writer->begin();
        DecodedRow row;
        for (; run.next(row); ++rows)
            writer->write(row);
        written = writer->finish();
    }
    rows_ += rows;
    const bool closed = ::close(fd) == 0;
    if (!written || !closed)
        python::raise("Error", path + ": writing the output failed");
    failOnReadErrors();
    return rows;
}

uint64_t DecodeRun::count()
{
    Decoder& run = decoder();
    uint64_t rows = 0;
    {
        py::gil_scoped_release unlocked;
        DecodedRow row;
        while (run.next(row))
            ++rows;
    }
    rows_ += rows;
    failOnReadErrors();
    return rows;
}

py::dict DecodeRun::summary() const
{
    py::dict summary;
    summary["rows"] = rows_;
    if (decoder_) {
        const DecodeCounts& counts = decoder_->counts();
        summary["frames"] = counts.frames;
        summary["frames_with_signals"] = counts.framesWithSignals;
        summary["writes"] = counts.writes;
        summary["triggers_fired"] = counts.triggersFired;
        summary["bad_lines"] = decoder_->report().badLines();
        summary["bad_packets"] = decoder_->report().badPackets();
    }
    summary["warnings"] = warnings_;
    summary["messages"] = withoutPrefix(messages_.str());
    return summary;
}

void DecodeRun::close() { decoder_.reset(); }

} // namespace rksignal
