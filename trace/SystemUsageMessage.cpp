#include "trace/SystemUsageMessage.h"

std::ostream& operator<<(std::ostream& os, const SystemUsageMessage& msg)
{
    const auto flags = os.flags();
    os << static_cast<const SystemMessage&>(msg) << std::dec << ",internalUsage=" << unsigned(msg.internalUsage)
       << ",externalUsage=" << unsigned(msg.externalUsage) << ",externalUsage2=" << unsigned(msg.externalUsage2);
    os.flags(flags);
    return os;
}
