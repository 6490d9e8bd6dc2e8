#include "decode/SharedSegment.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

namespace rksignal {

bool SharedSegment::removed(int shmId)
{
    struct shmid_ds status;
    if (shmctl(shmId, IPC_STAT, &status) != 0)
        return true;
    return (status.shm_perm.mode & SHM_DEST) != 0;
}

bool SharedSegment::replaced(key_t key, int shmId)
{
    const int current = shmget(key, 0, 0);
    return current != -1 && current != shmId;
}

bool SharedSegment::removeIfOnlyEverOurs(int shmId)
{
    struct shmid_ds status;
    if (shmId < 0 || shmctl(shmId, IPC_STAT, &status) != 0)
        return false;
    // The last attach or detach is our own attach, made right after we
    // created it, and we are its only user.
    const pid_t self = getpid();
    if (status.shm_cpid != self || status.shm_lpid != self || status.shm_nattch != 1)
        return false;
    return shmctl(shmId, IPC_RMID, nullptr) == 0;
}

} // namespace rksignal
