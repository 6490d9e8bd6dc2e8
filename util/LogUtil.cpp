#include "util/LogUtil.h"

#include <cstring>

std::recursive_mutex LogUtil::logMutex;

void LogUtil::printError(std::ostream& os, int errnum)
{
    std::lock_guard<std::recursive_mutex> guard(logMutex);
    char buffer[256];
    // The GNU strerror_r may return a static string instead of filling the
    // buffer; take whatever pointer it hands back.
    const char* text = strerror_r(errnum, buffer, sizeof buffer);
    os << ": " << text << " (errno " << std::dec << errnum << ")" << std::endl;
}
