// The shared-memory side of BaseSignal: finding or creating the segment of a
// signal, the polling slot lock, and letting go of the segment.
#include "signal/BaseSignal.h"

#include "signal/MessageLine.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace {

constexpr int projectId = 102;
constexpr int permissions = 0666;

// The key file is "/tmp/" + instance. A name that is empty or holds a "/"
// would name /tmp itself or a file elsewhere, so it never reaches the file
// system.
bool isPlainFileName(const std::string& instance)
{
    return !instance.empty() && instance.find('/') == std::string::npos;
}

// Makes sure the key file exists. Only its inode feeds ftok, so it is never
// truncated, and a symbolic link planted under the name is not followed.
void touchKeyFile(const std::string& path)
{
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, permissions);
    if (fd >= 0)
        close(fd);
}

// A process that finds a segment waits at most this long for its creator to
// set the slot up, and as long again for the slot lock when it then sets the
// slot up itself. A living creator needs microseconds; the patience only
// bounds the wait for one that died (or failed to attach) between making the
// segment and setting it up.
constexpr auto creatorPatience = std::chrono::milliseconds(500);
constexpr auto creatorSpin = std::chrono::microseconds(50);

// Rounds of finding and creating before giving up. A round only repeats when
// another process removed the segment between our two calls.
constexpr int findOrCreateRounds = 100;

struct Segment {
    int shmId;
    bool created;
    int error; // errno of the failed call when shmId is -1
};

// Finds the segment of `key`, or creates it when there is none. The creating
// call is exclusive, so of several processes that all missed the segment
// exactly one creates it; the others find it as any later process would.
Segment findOrCreate(key_t key)
{
    int error = EEXIST;
    for (int round = 0; round < findOrCreateRounds; ++round) {
        int shmId = shmget(key, sizeof(signalSlot_t), permissions);
        if (shmId != -1)
            return {shmId, false, 0};
        const int findError = errno;
        shmId = shmget(key, sizeof(signalSlot_t), IPC_CREAT | IPC_EXCL | permissions);
        if (shmId != -1)
            return {shmId, true, 0};
        error = errno;
        if (error != EEXIST)
            return {-1, false, error};
        // The segment exists. Unless the finding call missed it only because
        // it was not there yet, that call's error (size, permission) is the
        // answer, as a second try would meet it again.
        if (findError != ENOENT)
            return {-1, false, findError};
    }
    return {-1, false, error};
}

} // namespace

bool BaseSignal::createSharedMemory()
{
    const std::string path = "/tmp/" + def.instance;
    int keyError = EINVAL;
    if (isPlainFileName(def.instance)) {
        touchKeyFile(path);
        key = ftok(path.c_str(), projectId);
        keyError = errno;
    } else {
        key = -1;
    }
    if (key == -1) {
        MessageLine::writeErrno(MessageStream::Error, keyError, "BaseSignal", "createSharedMemory", def.instance,
                                ": Missing File (", path, ")");
        return false;
    }

    const Segment segment = findOrCreate(key);
    shmId = segment.shmId;
    if (shmId == -1) {
        MessageLine::writeErrno(MessageStream::Error, segment.error, "BaseSignal", "createSharedMemory", def.instance,
                                ": shmget (", def.instance, ")");
        return false;
    }

    if (segment.created) {
        // A new segment is zero-filled, which is an unlocked default mutex;
        // the default initialisation is applied to the private slot, before
        // the segment is attached.
        pthread_mutex_init(&privateSlot.mutex, nullptr);
        initSmData = true;
        MessageLine::write(MessageStream::Output, MessageLine::Info, "BaseSignal", "createSharedMemory", def.instance,
                           ": shmId = ", std::dec, shmId, " created");
    } else {
        initSmData = false;
        MessageLine::write(MessageStream::Output, MessageLine::Info, "BaseSignal", "createSharedMemory", def.instance,
                           ": shmId = ", std::dec, shmId, " found");
    }
    if (debug)
        MessageLine::debug("BaseSignal", "createSharedMemory", def.instance, ": key = 0x", std::hex, key,
                           ", shmId = ", std::dec, shmId, ", initSmData = ", std::boolalpha, initSmData);

    void* attached = shmat(shmId, nullptr, 0);
    if (attached == reinterpret_cast<void*>(-1)) {
        MessageLine::writeErrno(MessageStream::Error, errno, "BaseSignal", "createSharedMemory", "shmat (",
                                def.instance, ")");
        slot = &privateSlot;
        return false;
    }
    slot = static_cast<signalSlot_t*>(attached);
    // The creator sets the slot up after this point (the constructor does);
    // a process that found the segment must not read or write it before.
    if (!segment.created && !awaitSlotSetUp()) {
        // A slot that can never be locked is of no use: go on privately, as
        // after any other failure, and leave the segment to its owner.
        shmdt(attached);
        slot = &privateSlot;
        shmId = -1;
        initSmData = true;
        return false;
    }
    return true;
}

bool BaseSignal::awaitSlotSetUp()
{
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        if (slotIsSetUp(*slot))
            return true;
        const auto waited = std::chrono::steady_clock::now() - start;
        if (waited >= creatorPatience)
            break;
        // A creator that runs is done within microseconds: poll without
        // giving the processor away at first, since a yield on a busy machine
        // can cost a whole time slice.
        if (waited >= creatorSpin)
            sched_yield();
    }
    // The creator is gone, failed to attach or is stalled: set the slot up
    // here. Under the slot lock, which a creator takes for its set-up too, so
    // that a stalled creator that comes back finds it done and leaves it (and
    // any value written since) alone.
    if (!lockBefore(std::chrono::steady_clock::now() + creatorPatience)) {
        MessageLine::write(MessageStream::Error, MessageLine::Error, "BaseSignal", "createSharedMemory", def.instance,
                           ": shmId = ", std::dec, shmId, " never set up and locked by its creator, using a private slot");
        return false;
    }
    if (!slotIsSetUp(*slot)) {
        fillSlot();
        MessageLine::write(MessageStream::Error, MessageLine::Error, "BaseSignal", "createSharedMemory", def.instance,
                           ": shmId = ", std::dec, shmId, " not set up by its creator in time, set up here");
    }
    unlock();
    return true;
}

void BaseSignal::releaseSharedMemory()
{
    if (!shmem) {
        if (debug)
            MessageLine::debug("BaseSignal", "~BaseSignal", def.instance, " deleted");
        return;
    }
    if (shmId < 0) {
        if (debug)
            MessageLine::debug("BaseSignal", "~BaseSignal", def.instance, " deleted (no shared memory found)");
        return;
    }
    if (shmdt(slot) != 0)
        MessageLine::writeErrno(MessageStream::Error, errno, "BaseSignal", "~BaseSignal", "shmdt (", def.instance, ")");
    if (detachOnly) {
        MessageLine::write(MessageStream::Output, MessageLine::Info, "BaseSignal", "~BaseSignal", def.instance,
                           ": shmId = ", std::dec, shmId, " detached");
    } else {
        if (shmctl(shmId, IPC_RMID, nullptr) != 0)
            MessageLine::writeErrno(MessageStream::Error, errno, "BaseSignal", "~BaseSignal", "shmctl (", def.instance,
                                    ")");
        MessageLine::write(MessageStream::Output, MessageLine::Info, "BaseSignal", "~BaseSignal", def.instance,
                           ": shmId = ", std::dec, shmId, " destroyed");
    }
    if (debug) {
        MessageLine::debug("BaseSignal", "~BaseSignal", def.instance, ", shared memory and mutex deleted");
        MessageLine::debug("BaseSignal", "~BaseSignal", def.instance, " deleted");
    }
}

void BaseSignal::lockContended()
{
    lockBefore(std::chrono::steady_clock::time_point::max());
}

bool BaseSignal::lockBefore(std::chrono::steady_clock::time_point deadline)
{
    const bool bounded = deadline != std::chrono::steady_clock::time_point::max();
    for (;;) {
        const int result = pthread_mutex_trylock(&slot->mutex);
        if (result == 0)
            return true;
        if (result != EBUSY) {
            // Report and go on unlocked rather than stall the message path.
            MessageLine::writeErrno(MessageStream::Error, result, "BaseSignal", "lock", "mutex trylock(", def.instance,
                                    ")");
            return true;
        }
        if (bounded && std::chrono::steady_clock::now() >= deadline)
            return false;
        if (debug)
            MessageLine::debug("BaseSignal", "lock", "mutex trylock(", def.instance, "): retrying");
        sched_yield();
    }
}

void BaseSignal::reportUnlockFailure(int result) const
{
    MessageLine::writeErrno(MessageStream::Error, result, "BaseSignal", "unlock", "mutex unlock(", def.instance, ")");
}
