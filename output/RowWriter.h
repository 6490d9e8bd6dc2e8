// RowWriter: how the decoder's rows are written (table, CSV, JSON lines;
// OutputFormats lists them). One writer per output; not thread-safe.
#pragma once

#include "decode/DecodedRow.h"

#include <cstdint>
#include <string_view>

namespace rksignal {

class RowWriter {
public:
    virtual ~RowWriter() = default;
    virtual void begin() {}
    virtual void signalRow(const SignalRow& row) = 0;
    // A trigger that fired: its expression and the latest time of its signals.
    virtual void triggerRow(uint64_t time, std::string_view expression) = 0;
    // A signal that went stale (no value newer than the time-out).
    virtual void timeoutRow(uint64_t time, std::string_view instance) = 0;
    virtual bool finish() = 0;

    // Set before begin() when rows may carry a J1939 source address: the
    // formats that have columns add a "source" column then.
    bool sources = false;

    // The row of its kind.
    void write(const DecodedRow& row)
    {
        switch (row.kind) {
        case DecodedRow::Signal:
            signalRow(row);
            break;
        case DecodedRow::Trigger:
            triggerRow(row.time, row.expression);
            break;
        case DecodedRow::Timeout:
            timeoutRow(row.time, row.instance);
            break;
        }
    }
};

} // namespace rksignal
