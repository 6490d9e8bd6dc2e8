// MemoryFile: the bytes of one input as a file that lives in memory, for the
// readers that open files by name (libpcap, the BLF reader, the
// decompressing stream).
//
// Not thread-safe; one per input.
#pragma once

#include "FuzzSession.h"

#include <sys/mman.h>
#include <unistd.h>

#include <string>

namespace fuzz {

class MemoryFile {
public:
    explicit MemoryFile(const std::string& bytes) : fd_(memfd_create("fuzz", MFD_CLOEXEC))
    {
        require(fd_ >= 0, "a memory file can be made");
        require(write(fd_, bytes.data(), bytes.size()) == ssize_t(bytes.size()), "the bytes are written");
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

private:
    int fd_;
};

} // namespace fuzz
