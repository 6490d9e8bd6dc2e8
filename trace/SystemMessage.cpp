#include "trace/SystemMessage.h"

#include "trace/ByteText.h"

std::ostream& operator<<(std::ostream& os, const SystemMessage& msg)
{
    const auto flags = os.flags();
    rktrace::printTimestamp(os, msg.timestamp);
    os << std::dec << ",code=" << msg.code << ",text=" << msg.text;
    os.flags(flags);
    return os;
}
