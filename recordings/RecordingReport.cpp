#include "recordings/RecordingReport.h"

#include <iostream>

namespace rksignal {

void RecordingReport::badLine(const std::string& path, uint64_t lineNumber, std::string_view line,
                              const char* reason)
{
    ++badLines_;
    if (!reportNext())
        return;
    std::cerr << "rksignal: " << path << ":" << lineNumber << ": bad line (" << reason << "): " << line.substr(0, 80)
              << (line.size() > 80 ? "..." : "") << std::endl;
}

void RecordingReport::badPacket(const std::string& path, uint64_t packetNumber, const char* reason)
{
    ++badPackets_;
    if (!reportNext())
        return;
    std::cerr << "rksignal: " << path << ": packet " << packetNumber << ": bad packet (" << reason << ")"
              << std::endl;
}

void RecordingReport::warning(const std::string& path, const std::string& text)
{
    std::cerr << "rksignal: " << path << ": warning: " << text << std::endl;
}

void RecordingReport::error(const std::string& path, const std::string& text)
{
    failed_ = true;
    std::cerr << "rksignal: " << path << ": " << text << std::endl;
}

} // namespace rksignal
