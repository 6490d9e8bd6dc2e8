#include "recordings/AscWriter.h"

#include "recordings/LogText.h"

#include <ctime>

namespace rksignal {

namespace {

// "Sat Sep 30 03:06:13.191 pm 2017", in English whatever the locale.
std::string dateText(uint64_t micros)
{
    static const char* const weekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const time_t seconds = time_t(micros / 1000000u);
    struct tm utc;
    gmtime_r(&seconds, &utc);
    const int hour12 = utc.tm_hour % 12 == 0 ? 12 : utc.tm_hour % 12;
    char text[64];
    std::snprintf(text, sizeof text, "%s %s %02d %02d:%02d:%02d.%03u %s %d", weekdays[utc.tm_wday % 7],
                  months[utc.tm_mon % 12], utc.tm_mday, hour12, utc.tm_min, utc.tm_sec,
                  unsigned(micros / 1000u % 1000u), utc.tm_hour < 12 ? "am" : "pm", utc.tm_year + 1900);
    return text;
}

} // namespace

void AscWriter::header(uint64_t start)
{
    started_ = true;
    start_ = start - start % 1000u;
    const std::string date = dateText(start_);
    std::fprintf(file_, "date %s\nbase hex  timestamps absolute\ninternal events logged\n", date.c_str());
    std::fprintf(file_, "Begin Triggerblock %s\n   0.000000 Start of measurement\n", date.c_str());
}

bool AscWriter::write(const RecordedMessage& message)
{
    if (message.kind != RecordedMessage::Can)
        return false;
    const CANExtTraceMessage& frame = message.can;
    if (!started_)
        header(frame.timestamp);
    const uint64_t offset = frame.timestamp > start_ ? frame.timestamp - start_ : 0;
    char id[16];
    std::snprintf(id, sizeof id, "%X%s", unsigned(frame.canId), frame.frameFormat & 1 ? "x" : "");
    std::fprintf(file_, "%4llu.%06llu ", (unsigned long long)(offset / 1000000u),
                 (unsigned long long)(offset % 1000000u));
    if (frame.frameFormat & 2)
        std::fprintf(file_, "CANFD %3u Rx %10s %32s %u %u %x %2u", unsigned(frame.channel), id, "",
                     unsigned(message.canFdFlags & 1), unsigned((message.canFdFlags >> 1) & 1),
                     unsigned(LogText::lengthToDlc(frame.length)), unsigned(frame.length));
    else
        std::fprintf(file_, "%u  %-15s Rx   d %x", unsigned(frame.channel), id, unsigned(frame.length));
    for (unsigned i = 0; i < frame.length && i < sizeof frame.payload; ++i)
        std::fprintf(file_, " %02X", frame.payload[i]);
    std::fputc('\n', file_);
    return true;
}

void AscWriter::complete()
{
    if (!started_)
        header(0);
    std::fputs("End TriggerBlock\n", file_);
}

} // namespace rksignal
