// EventsCommand: `rksignal events`, which shows what the library's event
// description parser finds in a text: its tables of signal names by source
// and its per-source counts, under the names a client reads them by.
#pragma once

#include "cli/Command.h"

#include <string>

namespace rksignal {

class EventsCommand : public Command {
public:
    CLI::App& add(CLI::App& app) override;
    // The description, or "-" to read it from standard input. Writes the
    // tables to standard output; exit status 0, or 1 when standard input
    // cannot be read.
    int run() override;

private:
    std::string text_;
};

} // namespace rksignal
