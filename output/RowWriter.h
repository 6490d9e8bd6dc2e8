// RowWriter: how the decoder's rows are written (table, CSV, JSON lines).
// One writer per output; not thread-safe.
#pragma once

#include <cstdint>
#include <string_view>

namespace rksignal {

struct SignalRow {
    uint64_t time;
    std::string_view instance;
    double value;
    std::string_view unit;
    std::string_view description;
};

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
};

} // namespace rksignal
