#include "output/CsvRowWriter.h"

namespace rksignal {

std::unique_ptr<RowWriter> CsvRowWriter::create(OutputBuffer& out, size_t)
{
    return std::make_unique<CsvRowWriter>(out);
}

void CsvRowWriter::begin()
{
    out_.append(sources ? "time,instance,value,unit,description,source\n" : "time,instance,value,unit,description\n");
}

void CsvRowWriter::sourceField(int source)
{
    if (!sources)
        return;
    out_.append(',');
    if (source >= 0)
        out_.appendUnsigned(unsigned(source));
}

namespace {

// A loop of its own: find_first_of searches the four characters once for
// every character of the text, and names and units are all but always plain.
bool needsQuotes(std::string_view text)
{
    for (char c : text)
        if (c == ',' || c == '"' || c == '\r' || c == '\n')
            return true;
    return false;
}

} // namespace

void CsvRowWriter::field(OutputBuffer& out, std::string_view text)
{
    if (!needsQuotes(text)) {
        out.append(text);
        return;
    }
    out.append('"');
    for (char c : text) {
        if (c == '"')
            out.append('"');
        out.append(c);
    }
    out.append('"');
}

void CsvRowWriter::signalRow(const SignalRow& row)
{
    out_.append(time_.format(row.time));
    out_.append(',');
    field(row.instance);
    out_.append(',');
    out_.appendDouble(row.value);
    out_.append(',');
    field(row.unit);
    out_.append(',');
    field(row.description);
    sourceField(row.source);
    out_.append('\n');
}

void CsvRowWriter::markerRow(uint64_t time, std::string_view marker, std::string_view text)
{
    out_.append(time_.format(time));
    out_.append(',');
    out_.append(marker);
    out_.append(",,,");
    field(text);
    sourceField(-1);
    out_.append('\n');
}

void CsvRowWriter::triggerRow(uint64_t time, std::string_view expression) { markerRow(time, "TRIGGER", expression); }

void CsvRowWriter::timeoutRow(uint64_t time, std::string_view instance) { markerRow(time, "TIMEOUT", instance); }

} // namespace rksignal
