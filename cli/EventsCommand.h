// EventsCommand: `rksignal events`, which shows what the library's event
// description parser finds in a text: its tables of signal names by source
// and its per-source counts, under the names a client reads them by.
#pragma once

#include <string>

namespace rksignal {

class EventsCommand {
public:
    // `text`: the description, or "-" to read it from standard input. Writes
    // the tables to standard output; exit status 0, or 1 when standard input
    // cannot be read.
    static int run(const std::string& text);
};

} // namespace rksignal
