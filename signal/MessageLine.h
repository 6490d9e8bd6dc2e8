// MessageLine: writes the library's diagnostic lines.
//
// A line is a level tag, the class name, "::", the operation, "() ", the
// caller's text, a line end and a flush, all written under LogUtil::logMutex
// so that lines of several threads never interleave. Callers test the debug
// level before calling, so that no formatting work is done when it is off.
// The helper does not touch the stream's format flags: some lines leave the
// stream in a given state on purpose.
#pragma once

#include "util/LogUtil.h"

#include <mutex>
#include <ostream>

class MessageLine {
public:
    enum Level { Error, Info, Debug };

    template <class... Args>
    static void write(std::ostream& os, Level level, const char* cls, const char* op, const Args&... args)
    {
        std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
        start(os, level, cls, op);
        (os << ... << args);
        os << std::endl;
    }

    // An error line after a failed system call, completed by the error text.
    template <class... Args>
    static void writeErrno(std::ostream& os, int errnum, const char* cls, const char* op, const Args&... args)
    {
        std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
        start(os, Error, cls, op);
        (os << ... << args);
        LogUtil::printError(os, errnum);
    }

    // A line that stops after its text: no line end, only a flush. Kept for
    // the one message whose established form ends that way.
    template <class... Args>
    static void writeUnterminated(std::ostream& os, Level level, const char* cls, const char* op,
                                  const Args&... args)
    {
        std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
        start(os, level, cls, op);
        (os << ... << args);
        os << std::flush;
    }

    // A line whose text names its own origin ("[ERROR] expression parser:
    // ..."): the level tag, the caller's text, a line end and a flush.
    template <class... Args>
    static void writeText(std::ostream& os, Level level, const Args&... args)
    {
        std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
        os << tag(level);
        (os << ... << args);
        os << std::endl;
    }

    // Debug lines always go to standard output.
    template <class... Args>
    static void debug(const char* cls, const char* op, const Args&... args);

private:
    static const char* tag(Level level);
    static void start(std::ostream& os, Level level, const char* cls, const char* op);
};

#include <iostream>

template <class... Args>
void MessageLine::debug(const char* cls, const char* op, const Args&... args)
{
    write(std::cout, Debug, cls, op, args...);
}
