// WatchCommand: `rksignal watch`, which shows the values that other processes
// (a logger, `rksignal decode --shm`) keep in shared memory, read through
// LiveValues as a guest that never disturbs the writers.
#pragma once

#include "cli/Command.h"

#include <string>
#include <vector>

namespace rksignal {

struct WatchOptions {
    std::vector<std::string> definitionFiles; // .dbc[@channel] or .json
    unsigned long intervalMs = 500;           // between refreshes
    bool once = false;                        // one snapshot as plain rows
    std::vector<std::string> signalPatterns;  // globs over instance names
};

class WatchCommand : public Command {
public:
    CLI::App& add(CLI::App& app) override;
    // Exit status: 0 done (stopped by a signal, or --once), 1 the output
    // could not be written, 2 bad definitions or nothing to watch.
    int run() override;

private:
    WatchOptions options_;
};

} // namespace rksignal
