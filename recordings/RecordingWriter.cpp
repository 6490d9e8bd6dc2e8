#include "recordings/RecordingWriter.h"

#include <cerrno>
#include <cstring>

namespace rksignal {

RecordingWriter::~RecordingWriter()
{
    if (file_ != nullptr)
        std::fclose(file_);
}

bool RecordingWriter::finish(std::string& error)
{
    complete();
    const bool failed = std::ferror(file_) != 0;
    const int writeError = errno;
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    if (failed || !closed)
        error = std::strerror(failed ? writeError : errno);
    return !failed && closed;
}

} // namespace rksignal
