// hexdump: debug dump of a byte range.
#pragma once

#include <cstddef>
#include <ostream>

// Writes `length` bytes, 16 to a line: the offset as four hexadecimal digits,
// a colon, then each byte as a space and two lowercase hexadecimal digits.
// Every line ends with a line end; nothing is written for an empty range.
void hexdump(std::ostream& os, const unsigned char* data, size_t length);
