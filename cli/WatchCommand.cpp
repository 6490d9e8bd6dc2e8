#include "cli/WatchCommand.h"

#include "cli/CommandOptions.h"
#include "cli/ToolMessages.h"
#include "cli/WatchTable.h"
#include "decode/LiveValues.h"
#include "decode/SignalSet.h"
#include "output/OutputBuffer.h"
#include "output/TimeText.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cerrno>
#include <charconv>
#include <ctime>
#include <memory>

namespace rksignal {

namespace {

const char* const footer = R"(
Examples:
  rksignal watch --defs examples/vehicle.dbc --signals 'VehicleDynamics.*'
  rksignal watch --defs vehicle.dbc --once --signals 'Doors.*' > doors.txt

Shows the values that other processes (a logger, 'rksignal decode --shm')
keep in shared memory for the signals of the definition files: instance,
physical value, unit, value description, state and age. On a terminal the
view is refreshed in place until Ctrl-C; with --once, or when the output is
not a terminal, frames are plain rows.

State: valid; "no value" (nothing written yet, or cleared); "locked" (the
slot's lock stayed taken through a bounded wait of at most 100 ms: its
writer probably died holding it);
"ended" (the writer removed the segment when it finished; the last value is
shown until a new writer starts, which the watcher then follows).
Age: how far the value's time stamp lies behind the newest one shown (time
stamps are the recording's, not the wall clock).

The watcher never removes a writer's segments. Segments of signals that no
writer has created yet are created by the watcher, so that a writer starting
later finds them; it removes those that no other process used when it ends.

Exit status: 0 done, 1 the output could not be written, 2 bad options or
definitions, or nothing to watch.)";

volatile std::sig_atomic_t stopRequested = 0;

extern "C" void requestStop(int) { stopRequested = 1; }

// Ctrl-C, a closed terminal or a kill end the watch through its normal exit,
// so that the signals are destroyed and the watcher's own segments removed:
// the handlers only interrupt the wait between refreshes (a --once run just
// finishes its one snapshot).
class StopOnSignals {
public:
    StopOnSignals()
    {
        struct sigaction action = {};
        action.sa_handler = requestStop;
        sigemptyset(&action.sa_mask);
        for (size_t index = 0; index < count; ++index)
            sigaction(stops[index], &action, &saved_[index]);
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGPIPE, &ignore, &savedPipe_); // a closed pipe shows as a failed write
    }
    ~StopOnSignals()
    {
        for (size_t index = 0; index < count; ++index)
            sigaction(stops[index], &saved_[index], nullptr);
        sigaction(SIGPIPE, &savedPipe_, nullptr);
    }

private:
    static constexpr size_t count = 3;
    static constexpr int stops[count] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction saved_[count];
    struct sigaction savedPipe_;
};

std::string numberText(double value)
{
    char text[32];
    return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

// "1.250s": how far a value lies behind the newest one shown.
std::string ageText(uint64_t microseconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%llu.%03llus", (unsigned long long)(microseconds / 1000000),
                  (unsigned long long)(microseconds / 1000 % 1000));
    return text;
}

// Rows that fit on the terminal below the heading and the column header.
size_t screenRows()
{
    struct winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row < 4)
        return 0;
    return size_t(size.ws_row) - 3;
}

// The words of the State column.
const char* stateText(LiveValue::State state)
{
    switch (state) {
    case LiveValue::Valid:
        return "valid";
    case LiveValue::NoValue:
        return "no value";
    case LiveValue::Locked:
        return "locked";
    case LiveValue::Ended:
        return "ended";
    }
    return "";
}

class WatchRun {
public:
    explicit WatchRun(const WatchOptions& options)
        : options_(options), out_(STDOUT_FILENO), table_(out_, !options.once && isatty(STDOUT_FILENO))
    {
    }

    int run()
    {
        if (!ToolMessages::readDefinitions(options_.definitionFiles, definitions_))
            return 2;
        // Only the signals shown are built: the others' segments are none of
        // the watcher's business.
        definitions_.retainInstances(
            [this](const std::string& instance) { return SignalSet::selected(options_.signalPatterns, instance); });
        if (definitions_.size() == 0) {
            ToolMessages::error("no signal to watch (none defined, or none matches --signals)");
            return 2;
        }
        StopOnSignals stops;
        if (!attach())
            return 2;
        if (options_.once)
            return table_.show("", snapshot()) ? 0 : 1;
        while (!stopRequested) {
            const std::vector<WatchTable::Row> rows = snapshot();
            if (!table_.show(heading(), rows, screenRows()))
                return 1;
            if (live_.writerReplaced()) {
                // A writer ended and a new one has started: follow it.
                live_.detach();
                if (!attach())
                    return 2;
                continue;
            }
            pause();
        }
        return 0;
    }

private:
    bool attach()
    {
        std::vector<std::string> problems;
        std::string error;
        const bool attached = live_.attach(definitions_, problems, error);
        ToolMessages::warnings(problems);
        if (!attached)
            ToolMessages::error(error);
        return attached;
    }

    std::vector<WatchTable::Row> snapshot()
    {
        std::vector<WatchTable::Row> rows;
        for (const LiveValue& value : live_.read())
            rows.push_back(row(value));
        return rows;
    }

    WatchTable::Row row(const LiveValue& value) const
    {
        WatchTable::Row row;
        row[WatchTable::Instance] = std::string(value.instance);
        row[WatchTable::Unit] = std::string(value.unit);
        row[WatchTable::State] = stateText(value.state);
        if (value.hasValue) {
            row[WatchTable::Value] = numberText(value.value);
            row[WatchTable::Description] = value.description;
            row[WatchTable::Age] = ageText(live_.newest() - value.timestamp);
        }
        return row;
    }

    std::string heading()
    {
        std::string text = "rksignal watch: " + std::to_string(live_.size()) + " signals, every " +
                           std::to_string(options_.intervalMs) + " ms";
        if (live_.newest() != 0)
            text += ", newest value " + std::string(time_.format(live_.newest()));
        return text + " (Ctrl-C ends)";
    }

    // Waits one interval, or less when asked to stop.
    void pause()
    {
        struct timespec remaining = {time_t(options_.intervalMs / 1000), long(options_.intervalMs % 1000) * 1000000L};
        while (!stopRequested && nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
        }
    }

    const WatchOptions& options_;
    DefinitionSet definitions_;
    OutputBuffer out_;
    WatchTable table_;
    TimeText time_;
    LiveValues live_;
};

} // namespace

CLI::App& WatchCommand::add(CLI::App& app)
{
    CLI::App* watch = app.add_subcommand("watch", "Show signal values that other processes keep in shared memory");
    watch->footer(footer);
    CommandOptions::definitionFiles(*watch, options_.definitionFiles);
    watch->add_option("--interval", options_.intervalMs,
                      "Milliseconds between refreshes (default 500), e.g. --interval 100")
        ->type_name("MS")
        ->check(CLI::Range(1ul, 3600000ul));
    watch->add_flag("--once", options_.once, "Show the values once, as plain rows, and end, e.g. --once > values.txt");
    CommandOptions::repeatable(*watch, "--signals", options_.signalPatterns,
                               "Only instances matching the glob, e.g. --signals 'Engine*' (repeatable)", "PATTERN");
    return *watch;
}

int WatchCommand::run()
{
    WatchRun run(options_);
    return run.run();
}

} // namespace rksignal
