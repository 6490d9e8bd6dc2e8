#include "output/TableRowWriter.h"

#include <algorithm>
#include <charconv>

namespace rksignal {

namespace {
constexpr size_t valueWidth = 14;
constexpr size_t narrowestInstance = 8; // the instance column, however short the names
} // namespace

std::unique_ptr<RowWriter> TableRowWriter::create(OutputBuffer& out, size_t instanceWidth)
{
    return std::make_unique<TableRowWriter>(out, std::max(instanceWidth, narrowestInstance));
}

void TableRowWriter::padded(std::string_view text, size_t width)
{
    out_.append(text);
    if (text.size() < width)
        out_.appendPadding(width - text.size());
}

void TableRowWriter::begin()
{
    padded("time", 26);
    out_.append("  ");
    padded("instance", instanceWidth_);
    out_.appendPadding(valueWidth - 5 + 2);
    out_.append("value unit (description)\n");
}

void TableRowWriter::signalRow(const SignalRow& row)
{
    out_.append(time_.format(row.time));
    out_.append("  ");
    padded(row.instance, instanceWidth_);
    out_.append("  ");
    char number[32];
    // Ten significant digits read well at a terminal; the machine formats
    // (CSV, JSON lines) keep the shortest text that reads back exactly.
    const auto end = std::to_chars(number, number + sizeof number, row.value, std::chars_format::general, 10).ptr;
    const size_t length = size_t(end - number);
    if (length < valueWidth)
        out_.appendPadding(valueWidth - length);
    out_.append(std::string_view(number, length));
    if (!row.unit.empty()) {
        out_.append(' ');
        out_.append(row.unit);
    }
    if (!row.description.empty()) {
        out_.append("  (");
        out_.append(row.description);
        out_.append(')');
    }
    out_.append('\n');
}

void TableRowWriter::triggerRow(uint64_t time, std::string_view expression)
{
    out_.append(time_.format(time));
    out_.append("  TRIGGER  ");
    out_.append(expression);
    out_.append('\n');
}

void TableRowWriter::timeoutRow(uint64_t time, std::string_view instance)
{
    out_.append(time_.format(time));
    out_.append("  TIMEOUT  ");
    out_.append(instance);
    out_.append('\n');
}

} // namespace rksignal
