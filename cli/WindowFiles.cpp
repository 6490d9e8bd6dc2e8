#include "cli/WindowFiles.h"

#include "output/CsvRowWriter.h"
#include "recordings/RecordingWriters.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace rksignal {

WindowFiles::WindowFiles(std::string directory, std::string ending, InterfaceNames interfaceNames)
    : directory_(std::move(directory)), ending_(std::move(ending)), interfaceNames_(std::move(interfaceNames))
{
}

WindowFiles::~WindowFiles()
{
    index_.reset();
    if (indexFd_ >= 0)
        ::close(indexFd_);
}

bool WindowFiles::create(std::string& error)
{
    if (::mkdir(directory_.c_str(), 0777) != 0 && errno != EEXIST) {
        error = directory_ + ": " + std::strerror(errno);
        return false;
    }
    const std::string path = directory_ + "/windows.csv";
    indexFd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (indexFd_ < 0) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    index_ = std::make_unique<OutputBuffer>(indexFd_);
    index_->append("window,file,first,last,trigger,firing,frames\n");
    return true;
}

std::string WindowFiles::fileName(size_t number) const
{
    char name[32];
    std::snprintf(name, sizeof name, "window-%04zu", number);
    return name + ending_;
}

void WindowFiles::begin(const TriggerWindow& window)
{
    const std::string path = directory_ + "/" + fileName(window.number);
    std::string error;
    writer_ = RecordingWriters::create(path, interfaceNames_, error);
    if (!writer_ && error_.empty())
        error_ = path + ": " + error;
}

void WindowFiles::write(const RecordedMessage& message)
{
    if (writer_ && !writer_->write(message))
        ++skipped_;
}

void WindowFiles::end(const TriggerWindow& window)
{
    std::string error;
    if (writer_ && !writer_->finish(error) && error_.empty())
        error_ = directory_ + "/" + fileName(window.number) + ": " + error;
    writer_.reset();
    index_->appendUnsigned(window.number);
    index_->append(',');
    index_->append(fileName(window.number));
    index_->append(',');
    index_->append(time_.format(window.first));
    index_->append(',');
    index_->append(time_.format(window.last));
    index_->append(',');
    CsvRowWriter::field(*index_, window.trigger);
    index_->append(',');
    index_->append(time_.format(window.firing));
    index_->append(',');
    index_->appendUnsigned(window.messages);
    index_->append('\n');
    // On standard input the run may last for days: each window is listed
    // as soon as it is complete.
    index_->flush();
}

bool WindowFiles::finish(std::string& error)
{
    if (index_ && !index_->flush() && error_.empty())
        error_ = directory_ + "/windows.csv: " + std::strerror(errno);
    error = error_;
    return error_.empty();
}

} // namespace rksignal
