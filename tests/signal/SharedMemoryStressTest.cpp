// Several processes write and read the same shared-memory signals at once.
//
// Four writer and four reader processes build their own signals over 16
// shared slots. Each writer stamps every value with a time stamp naming the
// writer and its round, and derives the raw value from time stamp and
// signal; readers check that every (raw, time stamp) pair they read belongs
// together and that no writer's time stamps go backwards on a signal. At the
// end each signal must hold the final value of one of the writers. A
// watchdog kills everything and fails the test if a process hangs: a lost
// unlock makes every later lock of that slot spin forever.
#include "signal/BaseSignal.h"
#include "support/ChildProcess.h"
#include "support/OutputCapture.h"
#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int writerCount = 4;
constexpr int readerCount = 4;
constexpr int signalCount = 16;
constexpr auto writingTime = std::chrono::milliseconds(1500);
constexpr auto watchdogLimit = std::chrono::seconds(60);

// Time stamp of `writer`'s round: the writer in the low two bits.
uint64_t stampOf(uint64_t round, int writer)
{
    return round << 2 | uint64_t(writer);
}

int writerOf(uint64_t timestamp)
{
    return int(timestamp & 3);
}

// The raw value that goes with a time stamp on a signal; mixed, so that a
// raw value of one write paired with the time stamp of another is caught.
uint64_t rawFor(uint64_t timestamp, int signal)
{
    uint64_t z = timestamp * signalCount + uint64_t(signal) + 0x9e3779b97f4a7c15ULL;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
}

// What the processes report, in a mapping shared before they fork.
struct Board {
    std::atomic<int> writersDone;
    std::array<std::atomic<uint64_t>, writerCount> lastRound; // last round each writer completed
    std::array<std::atomic<uint64_t>, readerCount> pairsChecked;
    std::atomic_flag failureClaimed;
    char failure[256];
};

Board* board = nullptr;

int fail(const std::string& what)
{
    if (!board->failureClaimed.test_and_set())
        std::snprintf(board->failure, sizeof board->failure, "%s", what.c_str());
    return 1;
}

// The 16 signals of one process, over the slots named `names`.
class Signals {
public:
    explicit Signals(const std::vector<std::string>& names)
    {
        for (int s = 0; s < signalCount; ++s) {
            signals.push_back(std::make_unique<BaseSignal>(definitionOf(names[size_t(s)], 64), true, &storage));
        }
    }
    BaseSignal& operator[](int s) { return *signals[size_t(s)]; }
    bool allShared() const
    {
        for (const auto& signal : signals)
            if (signal->shmId < 0)
                return false;
        return true;
    }

private:
    SignalStorage storage;
    std::vector<std::unique_ptr<BaseSignal>> signals;
};

int writer(int w, const std::vector<std::string>& names)
{
    BaseSignal::detachOnly = true; // the parent removes the segments
    Signals signals(names);
    if (!signals.allShared())
        return fail("a writer found no segment");
    const auto stop = Clock::now() + writingTime;
    for (uint64_t round = 1; Clock::now() < stop; ++round) {
        for (int s = 0; s < signalCount; ++s) {
            const uint64_t timestamp = stampOf(round, w);
            // Both locked writes: the decoding one (a 64-bit field at bit 0
            // is the payload itself) and the raw one.
            if ((round + uint64_t(s)) % 2 == 0)
                signals[s].write(rawFor(timestamp, s), timestamp);
            else
                signals[s].writeRaw(rawFor(timestamp, s), timestamp);
        }
        board->lastRound[size_t(w)] = round;
    }
    ++board->writersDone;
    return 0;
}

int reader(int r, const std::vector<std::string>& names)
{
    BaseSignal::detachOnly = true;
    Signals signals(names);
    if (!signals.allShared())
        return fail("a reader found no segment");
    std::array<std::array<uint64_t, writerCount>, signalCount> newest{};
    for (;;) {
        // Read before the pass, so that the last pass sees every write.
        const bool writersFinished = board->writersDone == writerCount;
        for (int s = 0; s < signalCount; ++s) {
            unsigned long raw = 0;
            unsigned long timestamp = 0;
            if (!signals[s].read(raw, timestamp))
                continue; // not written yet
            const int w = writerOf(timestamp);
            std::ostringstream where;
            where << "signal " << s << ", time stamp " << timestamp;
            if (raw != rawFor(timestamp, s))
                return fail("raw value and time stamp do not belong together: " + where.str());
            if (timestamp < newest[size_t(s)][size_t(w)])
                return fail("a writer's time stamp went backwards: " + where.str());
            newest[size_t(s)][size_t(w)] = timestamp;
            ++board->pairsChecked[size_t(r)];
        }
        if (writersFinished)
            return 0;
    }
}

// Waits for every process; kills them all when the watchdog limit passes.
// Returns the exit statuses, or an empty list after a hang.
std::vector<int> waitOrKill(const std::vector<pid_t>& pids)
{
    std::vector<int> statuses(pids.size(), -1);
    size_t running = pids.size();
    const auto limit = Clock::now() + watchdogLimit;
    while (running != 0 && Clock::now() < limit) {
        for (size_t i = 0; i < pids.size(); ++i) {
            int status = 0;
            if (statuses[i] == -1 && waitpid(pids[i], &status, WNOHANG) == pids[i]) {
                statuses[i] = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
                --running;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (running == 0)
        return statuses;
    for (size_t i = 0; i < pids.size(); ++i) {
        if (statuses[i] == -1) {
            kill(pids[i], SIGKILL);
            waitpid(pids[i], nullptr, 0);
        }
    }
    return {};
}

// Names unique to this run; the segments and key files go with the object.
// The segment lines the signals write are kept out of the test's output.
class SharedSlots {
public:
    SharedSlots()
    {
        for (int s = 0; s < signalCount; ++s)
            names.push_back(uniqueInstanceName("stress" + std::to_string(s)));
        BaseSignal::detachOnly = false;
        OutputCapture quiet;
        signals = std::make_unique<Signals>(names);
    }
    ~SharedSlots()
    {
        removeSegments();
        for (const std::string& name : names)
            removeKeyFile(name);
    }
    void removeSegments()
    {
        OutputCapture quiet;
        signals.reset();
    }

    std::vector<std::string> names;
    std::unique_ptr<Signals> signals;
};

TEST(SharedMemoryStress, WritersAndReadersInSeveralProcessesKeepPairsTogether)
{
    void* mapping = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(mapping, MAP_FAILED);
    board = new (mapping) Board{};

    {
        // Created here, before any child runs, so that no process finds a
        // segment still being set up.
        SharedSlots slots;
        ASSERT_TRUE(slots.signals->allShared());

        std::vector<pid_t> pids;
        for (int w = 0; w < writerCount; ++w)
            pids.push_back(startChild([w, &slots] { return writer(w, slots.names); }));
        for (int r = 0; r < readerCount; ++r)
            pids.push_back(startChild([r, &slots] { return reader(r, slots.names); }));

        const std::vector<int> statuses = waitOrKill(pids);
        ASSERT_FALSE(statuses.empty()) << "a process hung; all were killed";
        std::string failed;
        for (size_t i = 0; i < statuses.size(); ++i)
            if (statuses[i] != 0)
                failed += " " + std::to_string(i) + " (status " + std::to_string(statuses[i]) + ")";
        EXPECT_EQ(failed, "") << "first failure: " << board->failure;
        for (int r = 0; r < readerCount; ++r)
            EXPECT_GT(board->pairsChecked[size_t(r)].load(), 0u) << "reader " << r << " read nothing";

        for (int s = 0; s < signalCount; ++s) {
            unsigned long raw = 0;
            unsigned long timestamp = 0;
            ASSERT_TRUE((*slots.signals)[s].read(raw, timestamp)) << "signal " << s;
            const int w = writerOf(timestamp);
            EXPECT_EQ(timestamp >> 2, board->lastRound[size_t(w)].load()) << "signal " << s << ", writer " << w;
            EXPECT_EQ(raw, rawFor(timestamp, s)) << "signal " << s;
        }
        for (const std::string& name : slots.names)
            EXPECT_TRUE(segmentExists(name));

        slots.removeSegments();
        for (const std::string& name : slots.names)
            EXPECT_FALSE(segmentExists(name)) << name;
    }
    board->~Board();
    munmap(mapping, sizeof(Board));
}

} // namespace
