#include "output/JsonlRowWriter.h"

#include <cmath>

namespace rksignal {

std::unique_ptr<RowWriter> JsonlRowWriter::create(OutputBuffer& out, size_t)
{
    return std::make_unique<JsonlRowWriter>(out);
}

void JsonlRowWriter::string(std::string_view text)
{
    static const char hex[] = "0123456789abcdef";
    out_.append('"');
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out_.append('\\');
            out_.append(char(c));
        } else if (c < 0x20) {
            out_.append("\\u00");
            out_.append(hex[c >> 4]);
            out_.append(hex[c & 15]);
        } else {
            out_.append(char(c));
        }
    }
    out_.append('"');
}

void JsonlRowWriter::timeFields(uint64_t time)
{
    out_.append("{\"time\":");
    string(time_.format(time));
    out_.append(",\"us\":");
    out_.appendUnsigned(time);
}

void JsonlRowWriter::signalRow(const SignalRow& row)
{
    timeFields(row.time);
    out_.append(",\"instance\":");
    string(row.instance);
    out_.append(",\"value\":");
    if (std::isfinite(row.value))
        out_.appendDouble(row.value);
    else
        out_.append("null"); // JSON has no NaN or infinity
    out_.append(",\"unit\":");
    string(row.unit);
    out_.append(",\"description\":");
    string(row.description);
    if (row.source >= 0) {
        out_.append(",\"source\":");
        out_.appendUnsigned(unsigned(row.source));
    }
    out_.append("}\n");
}

void JsonlRowWriter::triggerRow(uint64_t time, std::string_view expression)
{
    timeFields(time);
    out_.append(",\"trigger\":");
    string(expression);
    out_.append("}\n");
}

void JsonlRowWriter::timeoutRow(uint64_t time, std::string_view instance)
{
    timeFields(time);
    out_.append(",\"timeout\":");
    string(instance);
    out_.append("}\n");
}

} // namespace rksignal
