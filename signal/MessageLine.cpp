#include "signal/MessageLine.h"

#include "util/hexdump.h"

const char* MessageLine::tag(Level level)
{
    static const char* const tags[] = {"[ERROR] ", "[INFO] ", "[DEBUG] "};
    return tags[level];
}

void MessageLine::start(std::ostream& os, Level level, const char* cls, const char* op)
{
    os << tag(level) << cls << "::" << op << "() ";
}

void MessageLine::hexdump(const unsigned char* data, size_t length)
{
    std::lock_guard<std::recursive_mutex> guard(LogUtil::logMutex);
    ::hexdump(MessageSink::current().stream(MessageStream::Output), data, length);
}
