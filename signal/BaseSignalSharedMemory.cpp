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

    bool created = false;
    shmId = shmget(key, sizeof(signalSlot_t), permissions);
    if (shmId == -1) {
        shmId = shmget(key, sizeof(signalSlot_t), IPC_CREAT | permissions);
        if (shmId == -1) {
            MessageLine::writeErrno(MessageStream::Error, errno, "BaseSignal", "createSharedMemory", def.instance,
                                    ": shmget (", def.instance, ")");
            return false;
        }
        created = true;
    }

    if (created) {
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
        MessageLine::writeErrno(MessageStream::Error, errno, "BaseSignal", "createSharedMemory", "shmat (", def.instance,
                                ")");
        slot = &privateSlot;
        return false;
    }
    slot = static_cast<signalSlot_t*>(attached);
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
            MessageLine::writeErrno(MessageStream::Error, errno, "BaseSignal", "~BaseSignal", "shmctl (", def.instance, ")");
        MessageLine::write(MessageStream::Output, MessageLine::Info, "BaseSignal", "~BaseSignal", def.instance,
                           ": shmId = ", std::dec, shmId, " destroyed");
    }
    if (debug) {
        MessageLine::debug("BaseSignal", "~BaseSignal", def.instance, ", shared memory and mutex deleted");
        MessageLine::debug("BaseSignal", "~BaseSignal", def.instance, " deleted");
    }
}

void BaseSignal::lockContended(int result)
{
    for (;; result = pthread_mutex_trylock(&slot->mutex)) {
        if (result == 0)
            return;
        if (result != EBUSY) {
            // Report and go on unlocked rather than stall the message path.
            MessageLine::writeErrno(MessageStream::Error, result, "BaseSignal", "lock", "mutex trylock(", def.instance, ")");
            return;
        }
        if (debug)
            MessageLine::debug("BaseSignal", "lock", "mutex trylock(", def.instance, "): retrying");
        sched_yield();
    }
}

void BaseSignal::reportUnlockFailure(int result) const
{
    MessageLine::writeErrno(MessageStream::Error, result, "BaseSignal", "unlock", "mutex unlock(", def.instance, ")");
}
