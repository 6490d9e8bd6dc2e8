#include "recordings/RecordingReport.h"

namespace rksignal {

void RecordingReport::badLine(const std::string& path, uint64_t lineNumber, std::string_view line,
                              const char* reason)
{
    ++badLines_;
    if (!reportNext())
        return;
    out_ << "rksignal: " << path << ":" << lineNumber << ": bad line (" << reason << "): " << line.substr(0, 80)
         << (line.size() > 80 ? "..." : "") << std::endl;
}

void RecordingReport::badPacket(const std::string& path, uint64_t packetNumber, const char* reason)
{
    ++badPackets_;
    if (!reportNext())
        return;
    out_ << "rksignal: " << path << ": packet " << packetNumber << ": bad packet (" << reason << ")"
         << std::endl;
}

void RecordingReport::warning(const std::string& path, const std::string& text)
{
    out_ << "rksignal: " << path << ": warning: " << text << std::endl;
}

void RecordingReport::error(const std::string& path, const std::string& text)
{
    failed_ = true;
    out_ << "rksignal: " << path << ": " << text << std::endl;
}

} // namespace rksignal
