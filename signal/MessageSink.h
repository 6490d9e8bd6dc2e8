// MessageSink: where the signal library's diagnostic text goes.
//
// Every message line ("[ERROR] ...", "[INFO] ...", "[DEBUG] ..."), every
// table dump and hex dump of the higher debug levels and the expression
// scanner's and parser's traces are written into the stream that the
// installed sink hands out for the line's destination. The library names a
// destination, never a stream of its own. The default sink hands out
// std::cout for MessageStream::Output and std::cerr for MessageStream::Error,
// so a program that installs nothing gets the lines where it always did.
//
// A program installs its own sink to send the lines elsewhere: to standard
// error only (a tool whose standard output carries its results), into a
// buffer (a test, a language binding that hands the lines to its caller).
// Each line is written whole, flush included, before the library
// lets go of the stream; some lines deliberately leave the stream's format
// flags changed, so a sink should hand out the same stream for a destination
// every time.
//
// The sink also decides what becomes of the two faults after which the
// library cannot go on: an expression program that finds too few values on
// its stack (status 4) and a fatal error of a scanner (status 2). The
// default writes the reason as a line on the error stream and ends the
// process with that status; a sink may throw instead.
//
// Thread safety: the library asks for a stream and writes its line while
// holding LogUtil::logMutex, so stream() is called, and its stream written,
// by one thread at a time. install() takes the same mutex, so a sink may be
// replaced while other threads write lines; the sink replaced may be
// destroyed once install() has returned. A sink must stay alive while it is
// installed.
#pragma once

#include <ostream>
#include <string>

// The destination of a line: the standard output or the standard error of
// a program that keeps the default sink.
enum class MessageStream { Output, Error };

class MessageSink {
public:
    virtual ~MessageSink() = default;

    // The stream that lines for `destination` are written into. Called with
    // LogUtil::logMutex held.
    virtual std::ostream& stream(MessageStream destination) = 0;

    // The library cannot go on: `text` (one line, without line end) says
    // why, `status` is the exit status the default ends the process with.
    // An override ends the process or throws; should it return, the process
    // ends as by default. Called without LogUtil::logMutex held.
    virtual void fatal(int status, const std::string& text);

    // The sink in use (the default when none is installed). Call it, and
    // use the stream it hands out, with LogUtil::logMutex held.
    static MessageSink& current();
    // The default sink: std::cout and std::cerr, ending the process on a
    // fatal fault.
    static MessageSink& standard();
    // Makes `sink` the sink in use (null: the default) and returns the one
    // it replaces.
    static MessageSink* install(MessageSink* sink);

    // What the library calls on a fatal fault: the current sink's fatal(),
    // and the end of the process should that return.
    [[noreturn]] static void raiseFatal(int status, const std::string& text);

    // Installs a sink for the lifetime of the object and puts back the one
    // it replaced.
    class Scope {
    public:
        explicit Scope(MessageSink& sink) : previous_(install(&sink)) {}
        ~Scope() { install(previous_); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        MessageSink* previous_;
    };
};
