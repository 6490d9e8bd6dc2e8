// TableRowWriter: aligned columns for a person at a terminal.
#pragma once

#include "output/OutputBuffer.h"
#include "output/RowWriter.h"
#include "output/TimeText.h"

#include <memory>

namespace rksignal {

class TableRowWriter : public RowWriter {
public:
    // `instanceWidth`: the longest instance name, so that columns line up.
    // The writer on `out`, as the table of output formats creates it;
    // `instanceWidth` is the longest instance name shown.
    static std::unique_ptr<RowWriter> create(OutputBuffer& out, size_t instanceWidth);

    TableRowWriter(OutputBuffer& out, size_t instanceWidth) : out_(out), instanceWidth_(instanceWidth) {}
    void begin() override;
    void signalRow(const SignalRow& row) override;
    void triggerRow(uint64_t time, std::string_view expression) override;
    void timeoutRow(uint64_t time, std::string_view instance) override;
    bool finish() override { return out_.flush(); }

private:
    void padded(std::string_view text, size_t width);

    OutputBuffer& out_;
    size_t instanceWidth_;
    TimeText time_;
};

} // namespace rksignal
