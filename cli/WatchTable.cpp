#include "cli/WatchTable.h"

#include <algorithm>

namespace rksignal {

namespace {

const WatchTable::Row header{"instance", "value", "unit", "description", "state", "age"};

// Numbers read best aligned on their right end.
bool rightAligned(size_t column)
{
    return column == WatchTable::Value || column == WatchTable::Age;
}

constexpr std::string_view home = "\x1b[H";
constexpr std::string_view clearToLineEnd = "\x1b[K";
constexpr std::string_view clearToScreenEnd = "\x1b[J";

} // namespace

void WatchTable::widen(const Row& row)
{
    for (size_t column = 0; column < ColumnCount; ++column)
        widths_[column] = std::max(widths_[column], row[column].size());
}

void WatchTable::endLine()
{
    if (inPlace_)
        out_.append(clearToLineEnd);
    out_.append('\n');
}

void WatchTable::line(const Row& row)
{
    // Trailing blanks are left out: the last column with text ends the line.
    size_t last = ColumnCount;
    while (last > 0 && row[last - 1].empty())
        --last;
    for (size_t column = 0; column < last; ++column) {
        if (column > 0)
            out_.append("  ");
        const std::string& text = row[column];
        const size_t padding = widths_[column] - text.size();
        if (rightAligned(column))
            out_.appendPadding(padding);
        out_.append(text);
        if (!rightAligned(column) && column + 1 < last)
            out_.appendPadding(padding);
    }
    endLine();
}

bool WatchTable::show(std::string_view heading, const std::vector<Row>& rows, size_t maxRows)
{
    if (!inPlace_)
        widths_.fill(0);
    widen(header);
    for (const Row& row : rows)
        widen(row);
    if (inPlace_) {
        out_.append(home);
        if (!heading.empty()) {
            out_.append(heading);
            endLine();
        }
    }
    line(header);
    const size_t shown = maxRows == 0 ? rows.size() : std::min(rows.size(), maxRows);
    for (size_t index = 0; index < shown; ++index)
        line(rows[index]);
    if (shown < rows.size()) {
        out_.append("... ");
        out_.appendUnsigned(rows.size() - shown);
        out_.append(" more (choose with --signals)");
        endLine();
    }
    if (inPlace_)
        out_.append(clearToScreenEnd);
    return out_.flush();
}

} // namespace rksignal
