#include "trace/KeyboardMessage.h"

#include "trace/ByteText.h"

std::ostream& operator<<(std::ostream& os, const KeyboardMessage& msg)
{
    const auto flags = os.flags();
    rktrace::printTimestamp(os, msg.timestamp);
    os << std::dec << ",keyCode=" << msg.keyCode << ",value=" << msg.value;
    os.flags(flags);
    return os;
}
