#include "recordings/CandumpWriter.h"

namespace rksignal {

CandumpWriter::CandumpWriter(FILE* file, InterfaceNames names) : RecordingWriter(file), interfaceNames_(std::move(names))
{
}

const std::string& CandumpWriter::nameOf(uint8_t channel)
{
    auto found = names_.find(channel);
    if (found != names_.end())
        return found->second;
    std::string name = interfaceNames_ ? interfaceNames_(channel) : std::string();
    if (name.empty())
        name = "can" + std::to_string(channel == 0 ? 0 : channel - 1);
    return names_.emplace(channel, std::move(name)).first->second;
}

bool CandumpWriter::write(const RecordedMessage& message)
{
    if (message.kind != RecordedMessage::Can)
        return false;
    const CANExtTraceMessage& frame = message.can;
    const bool extended = frame.frameFormat & 1, fd = frame.frameFormat & 2;
    char line[64 + 2 * 64 + 256];
    int used = std::snprintf(line, sizeof line, "(%010llu.%06llu) %s %0*X#",
                             (unsigned long long)(frame.timestamp / 1000000u),
                             (unsigned long long)(frame.timestamp % 1000000u), nameOf(frame.channel).c_str(),
                             extended ? 8 : 3, unsigned(frame.canId));
    if (used < 0 || size_t(used) >= sizeof line - 2 * 64 - 4)
        return false;
    if (fd)
        used += std::snprintf(line + used, sizeof line - size_t(used), "#%X", unsigned(message.canFdFlags & 0xf));
    static const char digits[] = "0123456789ABCDEF";
    for (unsigned i = 0; i < frame.length && i < sizeof frame.payload; ++i) {
        line[used++] = digits[frame.payload[i] >> 4];
        line[used++] = digits[frame.payload[i] & 0xf];
    }
    line[used++] = '\n';
    std::fwrite(line, 1, size_t(used), file_);
    return true;
}

} // namespace rksignal
