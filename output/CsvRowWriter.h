// CsvRowWriter: "time,instance,value,unit,description" rows, fields quoted
// the RFC 4180 way when they hold a comma, a quote or a line end.
#pragma once

#include "output/OutputBuffer.h"
#include "output/RowWriter.h"
#include "output/TimeText.h"

#include <memory>

namespace rksignal {

class CsvRowWriter : public RowWriter {
public:
    // The writer on `out`, as the table of output formats creates it;
    // `instanceWidth` is the longest instance name shown.
    static std::unique_ptr<RowWriter> create(OutputBuffer& out, size_t instanceWidth);

    explicit CsvRowWriter(OutputBuffer& out) : out_(out) {}
    void begin() override;
    void signalRow(const SignalRow& row) override;
    void triggerRow(uint64_t time, std::string_view expression) override;
    void timeoutRow(uint64_t time, std::string_view instance) override;
    bool finish() override { return out_.flush(); }

    // Appends one field, quoted when it must be.
    static void field(OutputBuffer& out, std::string_view text);

private:
    void field(std::string_view text) { field(out_, text); }
    void sourceField(int source);
    void markerRow(uint64_t time, std::string_view marker, std::string_view text);

    OutputBuffer& out_;
    TimeText time_;
};

} // namespace rksignal
