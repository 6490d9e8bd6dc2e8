#include "definitions/TextFile.h"

#include <fstream>
#include <sstream>

namespace rksignal {

bool TextFile::read(const std::string& path, std::string& text, std::string& error)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = path + ": cannot open the file";
        return false;
    }
    std::ostringstream contents;
    contents << in.rdbuf();
    text = contents.str();
    return true;
}

} // namespace rksignal
