// WatchTable: the watcher's view of its signals, as aligned columns.
//
// On a terminal each frame is drawn over the previous one (cursor home, each
// line cleared to its end, the rest of the screen cleared), with the column
// widths kept from frame to frame so that the view does not jitter; rows
// beyond the screen are summarised in one line. Otherwise each frame is
// plain text: a header line and one line per row.
//
// Not thread-safe; one table per output.
#pragma once

#include "output/OutputBuffer.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace rksignal {

class WatchTable {
public:
    enum Column { Instance, Value, Unit, Description, State, Age, ColumnCount };
    using Row = std::array<std::string, ColumnCount>;

    // inPlace: draw over the previous frame with terminal control sequences.
    WatchTable(OutputBuffer& out, bool inPlace) : out_(out), inPlace_(inPlace) {}

    // Writes one frame: `heading` (in place only; may be empty), the column
    // header and at most `maxRows` rows (0: all). False when writing failed.
    bool show(std::string_view heading, const std::vector<Row>& rows, size_t maxRows = 0);

private:
    void widen(const Row& row);
    void line(const Row& row);
    void endLine();

    OutputBuffer& out_;
    bool inPlace_;
    std::array<size_t, ColumnCount> widths_{};
};

} // namespace rksignal
