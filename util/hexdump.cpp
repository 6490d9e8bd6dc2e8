#include "util/hexdump.h"

#include <cstdio>

void hexdump(std::ostream& os, const unsigned char* data, size_t length)
{
    constexpr size_t bytesPerLine = 16;
    for (size_t lineStart = 0; lineStart < length; lineStart += bytesPerLine) {
        // "oooo:" + 16 x " hh" + NUL fits in 64 bytes.
        char line[64];
        int used = std::snprintf(line, sizeof line, "%04zx:", lineStart);
        for (size_t i = lineStart; i < length && i < lineStart + bytesPerLine; ++i)
            used += std::snprintf(line + used, sizeof line - used, " %02x", data[i]);
        os << line << '\n';
    }
    os.flush();
}
