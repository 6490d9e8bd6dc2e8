// JsonlRowWriter: one JSON object per row and line.
#pragma once

#include "output/OutputBuffer.h"
#include "output/RowWriter.h"
#include "output/TimeText.h"

#include <memory>

namespace rksignal {

class JsonlRowWriter : public RowWriter {
public:
    // The writer on `out`, as the table of output formats creates it;
    // `instanceWidth` is the longest instance name shown.
    static std::unique_ptr<RowWriter> create(OutputBuffer& out, size_t instanceWidth);

    explicit JsonlRowWriter(OutputBuffer& out) : out_(out) {}
    void signalRow(const SignalRow& row) override;
    void triggerRow(uint64_t time, std::string_view expression) override;
    void timeoutRow(uint64_t time, std::string_view instance) override;
    bool finish() override { return out_.flush(); }

private:
    void string(std::string_view text);
    void timeFields(uint64_t time);

    OutputBuffer& out_;
    TimeText time_;
};

} // namespace rksignal
