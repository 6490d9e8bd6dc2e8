#include "signal/MessageLine.h"

const char* MessageLine::tag(Level level)
{
    static const char* const tags[] = {"[ERROR] ", "[INFO] ", "[DEBUG] "};
    return tags[level];
}

void MessageLine::start(std::ostream& os, Level level, const char* cls, const char* op)
{
    os << tag(level) << cls << "::" << op << "() ";
}
