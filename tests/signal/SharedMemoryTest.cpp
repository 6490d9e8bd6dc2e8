// Shared slots seen from two processes, detaching versus removing, mirrors,
// and names that must never reach the file system.
#include "signal/BaseSignal.h"
#include "support/ChildProcess.h"
#include "support/OutputCapture.h"
#include "support/SignalTestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <memory>

namespace {

std::string infoLine(const std::string& instance, int shmId, const char* what)
{
    return "[INFO] BaseSignal::createSharedMemory() " + instance + ": shmId = " + std::to_string(shmId) + " " +
           what + "\n";
}

// Removes the key file at the end of a test, whatever happened.
struct KeyFile {
    explicit KeyFile(std::string name) : instance(std::move(name)) {}
    ~KeyFile() { removeKeyFile(instance); }
    std::string instance;
};

// The segment of `instance` as its creator makes it, zero-filled; nobody sets
// its slot up.
int bareSegment(const std::string& instance)
{
    const std::string path = "/tmp/" + instance;
    close(open(path.c_str(), O_WRONLY | O_CREAT, 0666));
    return shmget(ftok(path.c_str(), 102), sizeof(signalSlot_t), IPC_CREAT | IPC_EXCL | 0666);
}

struct DetachOnly {
    explicit DetachOnly(bool on) { BaseSignal::detachOnly = on; }
    ~DetachOnly() { BaseSignal::detachOnly = false; }
};

} // namespace

TEST(SharedMemory, TwoProcessesShareOneSlot)
{
    KeyFile file(uniqueInstanceName("speed"));
    SignalStorage storage;
    OutputCapture capture;
    BaseSignal writer(definitionOf(file.instance, 16), true, &storage);
    ASSERT_NE(writer.slot, &writer.privateSlot);
    EXPECT_EQ(capture.out(), infoLine(file.instance, writer.shmId, "created"));
    EXPECT_EQ(writer.slot->size, 104u);
    EXPECT_EQ(writer.slot->name, file.instance);
    writer.write(0x1234, 50);

    const int status = runInChild([&] {
        SignalStorage childStorage;
        OutputCapture childCapture;
        BaseSignal reader(definitionOf(file.instance, 16), true, &childStorage);
        if (childCapture.out() != infoLine(file.instance, reader.shmId, "found"))
            return 1;
        if (stateOf(reader) != "valid 1234 @50")
            return 2;
        reader.write(0x0077, 60);
        BaseSignal::detachOnly = true; // the writer keeps its segment
        return 0;
    });
    EXPECT_EQ(status, 0);

    EXPECT_EQ(stateOf(writer), "valid 77 @60 modified"); // modified by its own write
    EXPECT_TRUE(segmentExists(file.instance));
}

TEST(SharedMemory, DetachOnlyKeepsTheSegmentRemovalDropsIt)
{
    KeyFile file(uniqueInstanceName("detach"));
    OutputCapture capture;
    int firstId;
    {
        DetachOnly detach(true);
        SignalStorage storage;
        BaseSignal sig(definitionOf(file.instance, 16), true, &storage);
        firstId = sig.shmId;
        sig.writeRaw(5, 6);
        capture.reset();
    }
    EXPECT_EQ(capture.out(), "[INFO] BaseSignal::~BaseSignal() " + file.instance + ": shmId = " +
                                 std::to_string(firstId) + " detached\n");
    EXPECT_TRUE(segmentExists(file.instance));

    capture.reset();
    {
        SignalStorage storage;
        BaseSignal again(definitionOf(file.instance, 16), true, &storage);
        EXPECT_EQ(capture.out(), infoLine(file.instance, firstId, "found"));
        EXPECT_EQ(stateOf(again), "valid 5 @6"); // the values survived
        capture.reset();
    }
    EXPECT_EQ(capture.out(), "[INFO] BaseSignal::~BaseSignal() " + file.instance + ": shmId = " +
                                 std::to_string(firstId) + " destroyed\n");
    EXPECT_FALSE(segmentExists(file.instance));
}

TEST(SharedMemory, MirrorOfASharedSignal)
{
    KeyFile file(uniqueInstanceName("mirror"));
    SignalStorage storage;
    OutputCapture capture;
    BaseSignal parent(definitionOf(file.instance, 16), true, &storage);
    auto mirror = std::make_unique<BaseSignal>(&parent);
    EXPECT_TRUE(mirror->shmem);
    EXPECT_EQ(mirror->slot, parent.slot);

    // The slot is the parent's, which another process shares as the test above shows.
    parent.write(0x0102, 1);
    EXPECT_EQ(stateOf(*mirror), "valid 102 @1");
    mirror->writeRaw(0xbeef, 2);

    BaseSignal::debug = 1;
    capture.reset();
    mirror.reset();
    BaseSignal::debug = 0;
    EXPECT_EQ(capture.out(), "[DEBUG] BaseSignal::~BaseSignal() " + file.instance +
                                 " deleted (no shared memory found)\n");
    EXPECT_TRUE(segmentExists(file.instance));
    EXPECT_EQ(stateOf(parent), "valid beef @2 modified");
}

TEST(SharedMemory, NamesOutsideTmpFallBackToAPrivateSlot)
{
    OutputCapture capture;
    const std::string escaping = "../" + uniqueInstanceName("escape");
    for (const std::string& name : {std::string("a/b"), escaping, std::string()}) {
        capture.reset();
        SignalStorage storage;
        BaseSignal sig(definitionOf(name, 16), true, &storage);
        EXPECT_EQ(capture.err(), "[ERROR] BaseSignal::createSharedMemory() " + name + ": Missing File (/tmp/" +
                                     name + "): Invalid argument (errno 22)\n");
        EXPECT_EQ(capture.out(), "");
        EXPECT_EQ(sig.slot, &sig.privateSlot);
        EXPECT_EQ(stateOf(sig), "invalid aaaaaaaa @1431655765"); // the private slot is initialised
        sig.write(3, 4);                                          // and works, under its own lock
        EXPECT_EQ(stateOf(sig), "valid 3 @4 modified");
    }
    struct stat info;
    EXPECT_NE(stat(("/tmp/" + escaping).c_str(), &info), 0);
}

TEST(SharedMemory, CreatorThatStallsOrDiesBeforeSettingTheSlotUp)
{
    // A creator stalls after its "created" line, before setting the slot up,
    // until a process that found the segment has waited for it in vain, set
    // the slot up itself and written. Coming back, the creator leaves the
    // slot alone.
    KeyFile stalled(uniqueInstanceName("stalled"));
    const pid_t finder = startChild([&] {
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!segmentExists(stalled.instance))
            if (std::chrono::steady_clock::now() > giveUp)
                return 1;
        BaseSignal::detachOnly = true;
        SignalStorage childStorage;
        OutputCapture childCapture;
        BaseSignal late(definitionOf(stalled.instance, 16), true, &childStorage);
        if (childCapture.out() != infoLine(stalled.instance, late.shmId, "found"))
            return 2;
        if (childCapture.err() != "[ERROR] BaseSignal::createSharedMemory() " + stalled.instance + ": shmId = " +
                                      std::to_string(late.shmId) + " not set up by its creator in time, set up here\n")
            return 3;
        late.write(0x77, 9);
        return 0;
    });
    int finderStatus = -1;
    SignalStorage storage;
    {
        OutputCapture capture([&](const std::string& output) {
            if (testing::Value(output, testing::EndsWith(" created\n")))
                finderStatus = waitForChild(finder);
        });
        BaseSignal creator(definitionOf(stalled.instance, 16), true, &storage);
        EXPECT_EQ(capture.out(), infoLine(stalled.instance, creator.shmId, "created"));
        EXPECT_EQ(finderStatus, 0);
        EXPECT_EQ(stateOf(creator), "valid 77 @9");
        EXPECT_EQ(creator.slot->name, stalled.instance);
    }
    if (finderStatus == -1)
        waitForChild(finder);

    // A creator died holding the slot lock before setting the slot up: a
    // process that finds the segment gives up after a while and goes on with
    // a private slot.
    KeyFile dead(uniqueInstanceName("dead"));
    const int segment = bareSegment(dead.instance);
    ASSERT_NE(segment, -1);
    void* deadSlot = shmat(segment, nullptr, 0);
    ASSERT_NE(deadSlot, reinterpret_cast<void*>(-1));
    ASSERT_EQ(pthread_mutex_trylock(&static_cast<signalSlot_t*>(deadSlot)->mutex), 0);
    shmdt(deadSlot);
    {
        OutputCapture capture;
        BaseSignal found(definitionOf(dead.instance, 16), true, &storage);
        EXPECT_EQ(capture.out(), infoLine(dead.instance, segment, "found"));
        EXPECT_EQ(capture.err(), "[ERROR] BaseSignal::createSharedMemory() " + dead.instance + ": shmId = " +
                                     std::to_string(segment) +
                                     " never set up and locked by its creator, using a private slot\n");
        EXPECT_EQ(found.slot, &found.privateSlot);
        found.write(3, 4);
        EXPECT_EQ(stateOf(found), "valid 3 @4 modified");
    }
    EXPECT_EQ(shmctl(segment, IPC_RMID, nullptr), 0); // left in place for its owner
}
