// Helpers for tests that need a second process or shared-memory names.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

// Runs `body` in a forked child and returns its exit status (or 128 + signal
// when it was killed). The child leaves with _exit, skipping the test
// framework's teardown; its std::cout and std::cerr are discarded.
int runInChild(const std::function<int()>& body);

// The two halves of runInChild, for a child that runs beside the test:
// startChild returns the child's pid (-1 when fork failed), waitForChild its
// status as runInChild does.
pid_t startChild(const std::function<int()>& body);
int waitForChild(pid_t pid);

// An instance name unique to this process and call, e.g. "rktest_1234_7_speed".
std::string uniqueInstanceName(const std::string& stem);

// Removes the key file "/tmp/<instance>" of a shared signal.
void removeKeyFile(const std::string& instance);

// True when a System V segment exists for the key file of `instance`.
bool segmentExists(const std::string& instance);
