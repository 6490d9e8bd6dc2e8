#include "recordings/RecordingFiles.h"

#include "definitions/DefinitionSet.h"
#include "recordings/CandumpReader.h"
#include "recordings/RecordingFormats.h"
#include "recordings/RecordingMerge.h"

#include <map>

namespace rksignal {

namespace {

constexpr uint8_t defaultFileChannel = 1;
constexpr size_t flexRaySlots = 2048;

std::string fileName(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The NAME of `--channel NAME=N`: a file, "FILE#I" (interface I of a
// capture), or a candump interface.
struct ChannelName {
    explicit ChannelName(const std::string& name)
    {
        const size_t hash = name.rfind('#');
        const std::string number = hash == std::string::npos ? std::string() : name.substr(hash + 1);
        numbered = !number.empty() && number.size() <= 9 && number.find_first_not_of("0123456789") == std::string::npos;
        file = numbered ? name.substr(0, hash) : name;
        interface = numbered ? uint32_t(std::stoul(number)) : 0;
    }

    std::string file;
    bool numbered = false;
    uint32_t interface = 0;
};

// The captures among `recordings` that `file` names, as given or by file name.
std::vector<std::string> capturesNamed(const std::string& file, const std::vector<std::string>& recordings)
{
    std::vector<std::string> captures;
    for (const std::string& path : recordings)
        if ((path == file || fileName(path) == file) && RecordingFormats::of(path).channelPerFile)
            captures.push_back(path);
    return captures;
}

} // namespace

struct RecordingFiles::State {
    explicit State(RecordingReport& report) : report(report) {}

    RecordingReport& report;
    CandumpReader candump;
    std::map<std::string, uint8_t> fileChannels;
    std::map<std::string, std::map<uint32_t, uint8_t>> interfaceChannels;
    std::vector<bool> staticSlots;
};

RecordingFiles::RecordingFiles(RecordingReport& report) : state_(std::make_unique<State>(report)) {}

RecordingFiles::~RecordingFiles() = default;

const char* RecordingFiles::formatOf(const std::string& path)
{
    return RecordingFormats::of(path).name;
}

bool RecordingFiles::parseChannelMap(const std::string& text, std::string& name, uint8_t& channel)
{
    const size_t equals = text.rfind('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 >= text.size())
        return false;
    const std::string number = text.substr(equals + 1);
    if (number.size() > 3 || number.find_first_not_of("0123456789") != std::string::npos || std::stoul(number) > 255)
        return false;
    name = text.substr(0, equals);
    channel = uint8_t(std::stoul(number));
    return true;
}

void RecordingFiles::mapChannel(const std::string& name, uint8_t channel, const std::vector<std::string>& recordings)
{
    const ChannelName named(name);
    const std::vector<std::string> captures = capturesNamed(named.file, recordings);
    for (const std::string& path : captures)
        if (named.numbered)
            state_->interfaceChannels[path][named.interface] = channel;
        else
            state_->fileChannels[path] = channel;
    if (captures.empty())
        state_->candump.mapInterface(name, channel);
}

std::string RecordingFiles::candumpInterface(uint8_t channel) const
{
    for (const auto& [name, mapped] : state_->candump.interfaces())
        if (mapped == channel)
            return name;
    return {};
}

void RecordingFiles::useFlexRaySegments(const DefinitionSet& definitions)
{
    state_->staticSlots.assign(flexRaySlots, false);
    for (const flexRaySignalDef_t& signal : definitions.flexRay)
        for (const flexRayPosition_t& position : signal.positions)
            if (position.type)
                state_->staticSlots[position.slot % flexRaySlots] = true;
}

std::unique_ptr<RecordingReader> RecordingFiles::open(const std::string& path, std::string& error)
{
    const auto channel = state_->fileChannels.find(path);
    const RecordingSetup setup{state_->report,
                               channel == state_->fileChannels.end() ? defaultFileChannel : channel->second,
                               state_->staticSlots, state_->candump, state_->interfaceChannels[path]};
    return RecordingFormats::open(path, setup, error);
}

std::unique_ptr<RecordingReader> RecordingFiles::openAll(const std::vector<std::string>& paths)
{
    std::vector<std::unique_ptr<RecordingReader>> readers;
    for (const std::string& path : paths) {
        std::string error;
        if (auto reader = open(path, error))
            readers.push_back(std::move(reader));
        else
            state_->report.error(path, error);
    }
    if (readers.size() == 1)
        return std::move(readers.front());
    if (readers.empty())
        return nullptr;
    return std::make_unique<RecordingMerge>(std::move(readers));
}

} // namespace rksignal
