#include "recordings/LogLineParser.h"

namespace rksignal {

LogLineParser::LogLineParser(uint8_t fileChannel, RecordingReport* report, std::string path)
    : fileChannel_(fileChannel == 0 ? 1 : fileChannel), report_(report), path_(std::move(path))
{
}

bool LogLineParser::channelOf(uint64_t number, uint8_t& channel) const
{
    if (number == 0 || number + fileChannel_ - 1 > 255)
        return false;
    channel = uint8_t(number + fileChannel_ - 1);
    return true;
}

bool LogLineParser::finish(RecordedMessage&)
{
    if (report_ != nullptr)
        skipped_.report(*report_, path_);
    return false;
}

} // namespace rksignal
