#include "cli/WatchCommand.h"

#include "cli/WatchTable.h"
#include "decode/SharedSegment.h"
#include "decode/SignalSet.h"
#include "decode/SlotPeek.h"
#include "definitions/DefinitionFiles.h"
#include "output/OutputBuffer.h"
#include "output/TimeText.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cerrno>
#include <charconv>
#include <ctime>
#include <deque>
#include <iostream>
#include <memory>

namespace rksignal {

namespace {

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

class WatchRun {
public:
    explicit WatchRun(const WatchOptions& options)
        : options_(options), out_(STDOUT_FILENO), table_(out_, !options.once && isatty(STDOUT_FILENO))
    {
    }
    ~WatchRun() { detach(); }

    int run()
    {
        if (!DefinitionFiles::readAndReport(options_.definitionFiles, definitions_))
            return 2;
        // Only the signals shown are built: the others' segments are none of
        // the watcher's business.
        definitions_.retainInstances(
            [this](const std::string& instance) { return SignalSet::selected(options_.signalPatterns, instance); });
        if (definitions_.size() == 0) {
            std::cerr << "rksignal: no signal to watch (none defined, or none matches --signals)" << std::endl;
            return 2;
        }
        BaseSignal::detachOnly = true;
        StopOnSignals stops;
        attach();
        if (options_.once)
            return table_.show("", snapshot()) ? 0 : 1;
        while (!stopRequested) {
            const std::vector<WatchTable::Row> rows = snapshot();
            if (!table_.show(heading(), rows, screenRows()))
                return 1;
            if (writerReplaced_) {
                // A writer ended and a new one has started: follow it.
                detach();
                attach();
                continue;
            }
            pause();
        }
        return 0;
    }

private:
    void attach()
    {
        signals_ = std::make_unique<SignalSet>(true);
        signals_->buildAndReport(definitions_);
        for (size_t index = 0; index < signals_->size(); ++index)
            peeks_.emplace_back(*signals_->entry(index).signal, scratch_);
    }

    // Lets go of every segment; removes those that only the watcher used.
    void detach()
    {
        for (SlotPeek& peek : peeks_)
            SharedSegment::removeIfOnlyEverOurs(peek.signal().shmId);
        peeks_.clear();
        signals_.reset();
    }

    std::vector<WatchTable::Row> snapshot()
    {
        std::vector<WatchTable::Row> rows;
        std::vector<SlotPeek::Outcome> outcomes;
        newest_ = 0;
        for (SlotPeek& peek : peeks_) {
            outcomes.push_back(peek.peek());
            if (outcomes.back() == SlotPeek::Value && peek.timestamp() > newest_)
                newest_ = peek.timestamp();
        }
        writerReplaced_ = false;
        for (size_t index = 0; index < peeks_.size(); ++index)
            rows.push_back(row(peeks_[index], outcomes[index]));
        return rows;
    }

    WatchTable::Row row(SlotPeek& peek, SlotPeek::Outcome outcome)
    {
        BaseSignal& signal = peek.signal();
        WatchTable::Row row;
        row[WatchTable::Instance] = signal.def.instance;
        row[WatchTable::Unit] = signal.def.unit;
        if (outcome == SlotPeek::Locked) {
            row[WatchTable::State] = "locked";
            return row;
        }
        if (outcome == SlotPeek::Value) {
            row[WatchTable::Value] = numberText(peek.value());
            if (!signal.def.valueDescription.empty())
                row[WatchTable::Description] = peek.description();
            row[WatchTable::Age] = ageText(newest_ - peek.timestamp());
        }
        const bool ended = signal.shmId >= 0 && SharedSegment::removed(signal.shmId);
        if (ended && SharedSegment::replaced(signal.key, signal.shmId))
            writerReplaced_ = true;
        if (ended)
            row[WatchTable::State] = "ended";
        else
            row[WatchTable::State] = outcome == SlotPeek::Value ? "valid" : "no value";
        return row;
    }

    std::string heading()
    {
        std::string text = "rksignal watch: " + std::to_string(peeks_.size()) + " signals, every " +
                           std::to_string(options_.intervalMs) + " ms";
        if (newest_ != 0)
            text += ", newest value " + std::string(time_.format(newest_));
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
    SignalStorage scratch_;             // the peeks' private copies
    std::unique_ptr<SignalSet> signals_;
    std::deque<SlotPeek> peeks_;        // after the signals: destroyed before them
    uint64_t newest_ = 0;
    bool writerReplaced_ = false;
};

} // namespace

int WatchCommand::run(const WatchOptions& options)
{
    WatchRun run(options);
    return run.run();
}

} // namespace rksignal
