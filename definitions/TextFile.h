// TextFile: the whole content of a definition file, for the readers.
#pragma once

#include <string>

namespace rksignal {

class TextFile {
public:
    // False, with "<path>: cannot open the file" in `error`, when it cannot.
    static bool read(const std::string& path, std::string& text, std::string& error);
};

} // namespace rksignal
