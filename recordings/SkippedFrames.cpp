#include "recordings/SkippedFrames.h"

namespace rksignal {

void SkippedFrames::report(RecordingReport& report, const std::string& path) const
{
    std::string text;
    const auto add = [&text](uint64_t count, const char* what) {
        if (count == 0)
            return;
        text += text.empty() ? "skipped " : ", ";
        text += std::to_string(count) + " " + what;
    };
    add(remote, "remote frames");
    add(error, "error frames");
    add(unknown, "objects of unknown kind");
    if (!text.empty())
        report.warning(path, text);
}

} // namespace rksignal
