#include "recordings/RecordingWriters.h"

#include "recordings/AscWriter.h"
#include "recordings/BlfWriter.h"
#include "recordings/CandumpWriter.h"
#include "recordings/PcapngWriter.h"

#include <cerrno>
#include <cstring>

namespace rksignal {

namespace {

enum class Output { Candump, Asc, Blf, Pcapng, Unknown };

bool endsWith(const std::string& text, const char* suffix)
{
    const size_t length = std::strlen(suffix);
    return text.size() >= length && text.compare(text.size() - length, length, suffix) == 0;
}

Output outputOf(const std::string& path)
{
    if (endsWith(path, ".log") || endsWith(path, ".candump"))
        return Output::Candump;
    if (endsWith(path, ".asc"))
        return Output::Asc;
    if (endsWith(path, ".blf"))
        return Output::Blf;
    if (endsWith(path, ".pcapng"))
        return Output::Pcapng;
    return Output::Unknown;
}

} // namespace

const char* RecordingWriters::endingsText()
{
    return "FILE.log (candump), FILE.asc, FILE.blf or FILE.pcapng";
}

std::unique_ptr<RecordingWriter> RecordingWriters::create(const std::string& path, const InterfaceNames& interfaceNames,
                                                          std::string& error)
{
    const Output output = outputOf(path);
    if (output == Output::Unknown) {
        error = std::string("cannot tell the format to write from the name: expected ") + endingsText();
        return nullptr;
    }
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        error = std::strerror(errno);
        return nullptr;
    }
    switch (output) {
    case Output::Candump:
        return std::make_unique<CandumpWriter>(file, interfaceNames);
    case Output::Asc:
        return std::make_unique<AscWriter>(file);
    case Output::Blf:
        return std::make_unique<BlfWriter>(file);
    case Output::Pcapng:
    case Output::Unknown:
        break;
    }
    return std::make_unique<PcapngWriter>(file);
}

} // namespace rksignal
