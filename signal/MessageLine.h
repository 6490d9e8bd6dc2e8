// MessageLine: writes the library's diagnostic lines.
//
// A line is a level tag, the class name, "::", the operation, "() ", the
// caller's text, a line end and a flush, written into the installed
// MessageSink's stream for the line's destination, all under
// LogUtil::logMutex so that lines of several threads never interleave.
// Callers test the debug level before calling, so that no formatting work is
// done when it is off. The helper does not touch the stream's format flags:
// some lines leave the stream in a given state on purpose.
#pragma once

#include "util/LogUtil.h"
#include "signal/MessageSink.h"

#include <cstddef>
#include <mutex>
#include <ostream>

class MessageLine {
public:
    enum Level { Error, Info, Debug };

    template <class... Args>
    static void write(MessageStream to, Level level, const char* cls, const char* op, const Args&... args)
    {
        std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
        std::ostream& os = MessageSink::current().stream(to);
        start(os, level, cls, op);
        (os << ... << args);
        os << std::endl;
    }

    // An error line after a failed system call, completed by the error text.
    template <class... Args>
    static void writeErrno(MessageStream to, int errnum, const char* cls, const char* op, const Args&... args)
    {
        std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
        std::ostream& os = MessageSink::current().stream(to);
        start(os, Error, cls, op);
        (os << ... << args);
        LogUtil::printError(os, errnum);
    }

    // A line that stops after its text: no line end, only a flush. Kept for
    // the one message whose established form ends that way.
    template <class... Args>
    static void writeUnterminated(MessageStream to, Level level, const char* cls, const char* op,
                                  const Args&... args)
    {
        std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
        std::ostream& os = MessageSink::current().stream(to);
        start(os, level, cls, op);
        (os << ... << args);
        os << std::flush;
    }

    // A line whose text names its own origin ("[ERROR] expression parser:
    // ..."): the level tag, the caller's text, a line end and a flush.
    template <class... Args>
    static void writeText(MessageStream to, Level level, const Args&... args)
    {
        std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
        std::ostream& os = MessageSink::current().stream(to);
        os << tag(level);
        (os << ... << args);
        os << std::endl;
    }

    // Debug lines always go to standard output.
    template <class... Args>
    static void debug(const char* cls, const char* op, const Args&... args)
    {
        write(MessageStream::Output, Debug, cls, op, args...);
    }

    // A hex dump of `length` bytes on standard output, in one piece.
    static void hexdump(const unsigned char* data, size_t length);

    // Text without a form of its own (the scanner's and parser's traces):
    // whatever is streamed into the object goes to the stream of `to`, under
    // the log mutex, and is flushed when the object dies (at the end of the
    // statement that made it).
    class Trace {
    public:
        explicit Trace(MessageStream to) : guard_(LogUtil::logMutex), os_(MessageSink::current().stream(to)) {}
        ~Trace() { os_.flush(); }
        Trace(const Trace&) = delete;
        Trace& operator=(const Trace&) = delete;

        template <class T>
        Trace& operator<<(const T& value)
        {
            os_ << value;
            return *this;
        }
        Trace& operator<<(std::ostream& (*manipulator)(std::ostream&))
        {
            os_ << manipulator;
            return *this;
        }

    private:
        std::lock_guard<std::recursive_mutex> guard_;
        std::ostream& os_;
    };

private:
    static const char* tag(Level level);
    static void start(std::ostream& os, Level level, const char* cls, const char* op);
};
