// ByteText: shared helpers for the print forms of the trace messages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>

namespace rktrace {

// Writes the bytes as two lowercase hexadecimal digits each, separated by a
// space; leaves the stream's format flags as they were.
void printBytes(std::ostream& os, const uint8_t* data, size_t length);

// Writes "timestamp=<printTime text>".
void printTimestamp(std::ostream& os, uint64_t timestamp);

} // namespace rktrace
