#include "support/ChildProcess.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <sstream>

int runInChild(const std::function<int()>& body)
{
    return waitForChild(startChild(body));
}

pid_t startChild(const std::function<int()>& body)
{
    std::cout.flush();
    std::cerr.flush();
    const pid_t pid = fork();
    if (pid == 0) {
        std::ostringstream sink;
        std::cout.rdbuf(sink.rdbuf());
        std::cerr.rdbuf(sink.rdbuf());
        _exit(body());
    }
    return pid;
}

int waitForChild(pid_t pid)
{
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid)
        return -1;
    if (WIFSIGNALED(status))
        return 128 + WTERMSIG(status);
    return WEXITSTATUS(status);
}

std::string uniqueInstanceName(const std::string& stem)
{
    static int counter = 0;
    return "rktest_" + std::to_string(getpid()) + "_" + std::to_string(++counter) + "_" + stem;
}

void removeKeyFile(const std::string& instance)
{
    std::remove(("/tmp/" + instance).c_str());
}

bool segmentExists(const std::string& instance)
{
    const key_t key = ftok(("/tmp/" + instance).c_str(), 102);
    return key != -1 && shmget(key, 0, 0) != -1;
}
