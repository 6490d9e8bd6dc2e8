#include "signal/MessageLine.h"

void MessageLine::start(std::ostream& os, Level level, const char* cls, const char* op)
{
    static const char* const tags[] = {"[ERROR] ", "[INFO] ", "[DEBUG] "};
    os << tags[level] << cls << "::" << op << "() ";
}
