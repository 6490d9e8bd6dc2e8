// The default sink, and the one place where the library touches the
// process's standard streams or ends the process.
#include "signal/MessageSink.h"

#include "util/LogUtil.h"

#include <cstdlib>
#include <iostream>
#include <mutex>

namespace {

class StandardStreams : public MessageSink {
public:
    std::ostream& stream(MessageStream destination) override
    {
        return destination == MessageStream::Error ? std::cerr : std::cout;
    }
};

MessageSink* installed = nullptr; // guarded by LogUtil::logMutex

} // namespace

void MessageSink::fatal(int status, const std::string& text)
{
    {
        std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
        stream(MessageStream::Error) << text << std::endl;
    }
    std::exit(status);
}

MessageSink& MessageSink::standard()
{
    // Never destroyed: lines written by destructors of static objects still
    // find it.
    static StandardStreams* const sink = new StandardStreams;
    return *sink;
}

MessageSink& MessageSink::current()
{
    return installed != nullptr ? *installed : standard();
}

MessageSink* MessageSink::install(MessageSink* sink)
{
    std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
    MessageSink* previous = &current();
    installed = sink;
    return previous;
}

void MessageSink::raiseFatal(int status, const std::string& text)
{
    MessageSink* sink = nullptr;
    {
        std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
        sink = &current();
    }
    sink->fatal(status, text);
    std::exit(status);
}
