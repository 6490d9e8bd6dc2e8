// Two processes build the same new shared signal at the same moment, round
// after round, on a fresh instance name each time: a writer that writes one
// value right after building, and a builder that only builds and then reads.
// Whichever of them creates the segment, exactly one says "created" and sets
// the slot up, and the writer's value survives the other's set-up.
#include "signal/BaseSignal.h"
#include "support/ChildProcess.h"
#include "support/OutputCapture.h"
#include "support/SignalTestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sched.h>
#include <signal.h>
#include <sys/mman.h>

#include <array>
#include <atomic>
#include <chrono>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr unsigned rounds = 2000;
// Long enough for a loaded machine; only a dead partner makes it run out.
constexpr auto patience = std::chrono::seconds(20);

enum Party { Builder, Writer };
enum Line : uint8_t { NoLine, Created, Found, OtherOutput };

// Shared by the two processes: how far each has come, and what each one's
// segment line said in every round.
struct Board {
    std::array<std::atomic<unsigned>, 2> reached;
    Line lines[2][rounds];
};

// Marks `point` reached by `me` and waits until the other party reaches it
// too; false when the other does not come in time.
bool meet(Board& board, Party me, unsigned point)
{
    board.reached[me].store(point, std::memory_order_release);
    const auto start = std::chrono::steady_clock::now();
    while (board.reached[1 - me].load(std::memory_order_acquire) < point) {
        const auto waited = std::chrono::steady_clock::now() - start;
        if (waited > patience)
            return false;
        // Spin at first, so that both leave the meeting together when both
        // are running; yield later, so as not to starve the other on a busy machine.
        if (waited > std::chrono::microseconds(500))
            sched_yield();
    }
    return true;
}

// Holds `party` back for a moment after the start of `round`: round by
// round the head start of one party over the other sweeps from -5 to +5
// microseconds, so that in some rounds both look for the segment before
// either creates it.
void stagger(Party party, unsigned round)
{
    const int offset = int(round * 7919 % 11) - 5;
    const int wait = party == Writer ? offset : -offset;
    const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(wait);
    while (std::chrono::steady_clock::now() < until) {
    }
}

// The segment line of `signal`, the only output its construction may give.
Line lineOf(const OutputCapture& capture, const BaseSignal& signal)
{
    const std::string start =
        "[INFO] BaseSignal::createSharedMemory() " + signal.def.instance + ": shmId = " + std::to_string(signal.shmId);
    if (!capture.err().empty())
        return OtherOutput;
    if (capture.out() == start + " created\n")
        return Created;
    if (capture.out() == start + " found\n")
        return Found;
    return OtherOutput;
}

// Captures the output of one signal's construction, holding the process up
// for a moment after a "created" line, before it sets the slot up: what a
// busy machine does to a creator now and then happens in every round here.
struct CreatorHeldUp : OutputCapture {
    CreatorHeldUp()
        : OutputCapture([](const std::string& output) {
              if (testing::Value(output, testing::EndsWith(" created\n")))
                  std::this_thread::sleep_for(std::chrono::microseconds(100));
          })
    {
    }
};

// Neither fill pattern of a slot that was never written.
uint64_t valueOf(unsigned round)
{
    return 0x5a000000u + round;
}

// The writer's side: builds, writes at once, and leaves the segment to the
// builder, which removes it at the end of each round.
int writeEveryRound(Board& board, const std::vector<std::string>& names)
{
    BaseSignal::detachOnly = true;
    for (unsigned round = 0; round < rounds; ++round) {
        if (!meet(board, Writer, 2 * round + 1))
            return 1;
        stagger(Writer, round);
        SignalStorage storage;
        CreatorHeldUp capture;
        BaseSignal signal(definitionOf(names[round], 32), true, &storage);
        signal.writeRaw(valueOf(round), round + 1);
        board.lines[Writer][round] = lineOf(capture, signal);
        if (!meet(board, Writer, 2 * round + 2))
            return 2;
    }
    return 0;
}

} // namespace

TEST(SharedMemoryRace, TwoProcessesCreatingOneSignalAtOnceLoseNoValue)
{
    void* mapping = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(mapping, MAP_FAILED);
    Board& board = *new (mapping) Board{};

    const std::string stem = uniqueInstanceName("race");
    std::vector<std::string> names;
    for (unsigned round = 0; round < rounds; ++round)
        names.push_back(stem + std::to_string(round));

    const pid_t writer = startChild([&] { return writeEveryRound(board, names); });
    ASSERT_GT(writer, 0);

    unsigned lostValues = 0;
    unsigned roundsDone = 0;
    for (; roundsDone < rounds; ++roundsDone) {
        const unsigned round = roundsDone;
        if (!meet(board, Builder, 2 * round + 1))
            break;
        stagger(Builder, round);
        SignalStorage storage;
        CreatorHeldUp capture;
        BaseSignal signal(definitionOf(names[round], 32), true, &storage);
        board.lines[Builder][round] = lineOf(capture, signal);
        if (!meet(board, Builder, 2 * round + 2))
            break;
        unsigned long raw = 0;
        unsigned long timestamp = 0;
        if (!signal.read(raw, timestamp) || raw != valueOf(round) || timestamp != round + 1)
            ++lostValues;
        // The signal goes here, and with it the segment (detachOnly is off).
    }
    if (roundsDone < rounds)
        kill(writer, SIGKILL);
    EXPECT_EQ(waitForChild(writer), 0);
    for (const std::string& name : names)
        removeKeyFile(name);

    unsigned roundsWithoutOneCreator = 0;
    unsigned roundsWithOtherOutput = 0;
    for (unsigned round = 0; round < roundsDone; ++round) {
        const Line builder = board.lines[Builder][round];
        const Line writerLine = board.lines[Writer][round];
        roundsWithoutOneCreator += (builder == Created) + (writerLine == Created) != 1;
        roundsWithOtherOutput += builder == OtherOutput || writerLine == OtherOutput;
    }
    EXPECT_EQ(roundsDone, rounds) << "a process did not come to a round in time";
    EXPECT_EQ(lostValues, 0u) << "the value was wiped in " << lostValues << " of " << roundsDone << " rounds";
    EXPECT_EQ(roundsWithoutOneCreator, 0u) << "of " << roundsDone << " rounds";
    EXPECT_EQ(roundsWithOtherOutput, 0u) << "of " << roundsDone << " rounds";

    board.~Board();
    munmap(mapping, sizeof(Board));
}
