// LogUtil: process-wide support for the library's diagnostic lines.
//
// Every message line of the signal library is written while holding
// `logMutex`, so lines from several threads never interleave. The mutex is
// recursive so that `printError` (which completes a line) may be called by a
// writer that already holds it.
#pragma once

#include <mutex>
#include <ostream>

class LogUtil {
public:
    static std::recursive_mutex logMutex;

    // Completes a message line after a failed system call: ": ", the text of
    // `errnum`, " (errno <n>)", a line end and a flush.
    static void printError(std::ostream& os, int errnum);
};
