// WatchCommand: `rksignal watch`, which shows the values that other processes
// (a logger, `rksignal decode --shm`) keep in shared memory.
//
// The watcher builds the signals of its definition files with shared memory,
// as every process of the logger does, but it is a guest there: it sets
// BaseSignal::detachOnly, so it never removes a writer's segments; it reads
// every slot through SlotPeek, so a slot left locked by a writer that died is
// reported instead of hanging it; and it removes on leaving only the segments
// it created itself and that no other process ever attached to.
#pragma once

#include <string>
#include <vector>

namespace rksignal {

struct WatchOptions {
    std::vector<std::string> definitionFiles; // .dbc[@channel] or .json
    unsigned long intervalMs = 500;           // between refreshes
    bool once = false;                        // one snapshot as plain rows
    std::vector<std::string> signalPatterns;  // globs over instance names
};

class WatchCommand {
public:
    // Exit status: 0 done (stopped by a signal, or --once), 1 the output
    // could not be written, 2 bad definitions or nothing to watch.
    static int run(const WatchOptions& options);
};

} // namespace rksignal
