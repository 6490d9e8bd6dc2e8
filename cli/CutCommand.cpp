#include "cli/CutCommand.h"

#include "cli/CommandOptions.h"
#include "cli/Duration.h"
#include "cli/ToolMessages.h"
#include "cli/WindowFiles.h"
#include "decode/Decoder.h"
#include "recordings/RecordingFiles.h"

#include <chrono>
#include <cstdio>
#include <iostream>
#include <map>
#include <set>

namespace rksignal {

namespace {

const char* const footer = R"(
Examples:
  rksignal cut --defs examples/vehicle.dbc --trigger 'Doors.DoorFL == 1' --edge \
      --pre 2s --post 1s examples/drive.log -o doors
  candump -L can0 | rksignal cut --defs vehicle.dbc --channel can0=1 \
      --trigger 'Brake.Pressure > 80' --pre 10s --post 5s - -o incidents

For every firing of a trigger, the frames from --pre before to --post after
it are written to DIR/window-0001.EXT, DIR/window-0002.EXT, ... in the kind
of recording read: candump logs as candump logs (.log), ASC as ASC, BLF as
BLF, pcap and pcapng captures as pcapng; TRC logs as ASC; mixed kinds as
pcapng (--as EXT chooses: log, asc, blf or pcapng). A firing whose window
starts at or before the end of the window before extends that window, so
windows never overlap. Without --edge a trigger fires on every frame that
writes a signal it reads while it holds, and so extends its window as long
as it holds; with --edge only when it becomes true.

DIR/windows.csv lists the windows: number, file, times of the first and last
frame, the trigger that opened the window, when it fired, and the number of
frames; it holds the header alone when no trigger fired.

Only the frames of --pre are kept in memory, so cut follows standard input
(-) for as long as it runs. Durations: 500ms, 5s, 2min (us, ms, s, min, h).

Exit status: 0 done, 1 a recording could not be read or a window not
written, 2 bad options, definitions or expressions.)";

// The writer's ending for each format read.
const std::map<std::string, std::string> endingOfFormat = {
    {"candump", ".log"}, {"asc", ".asc"}, {"trc", ".asc"}, {"blf", ".blf"}, {"pcap", ".pcapng"},
};

} // namespace

CLI::App& CutCommand::add(CLI::App& app)
{
    CLI::App* cut = app.add_subcommand("cut", "Write the frames around trigger firings as recordings of their own");
    cut->footer(footer);
    CommandOptions::definitionFiles(*cut, definitionFiles_);
    CommandOptions::repeatable(*cut, "--trigger", options_.triggers,
                               "Trigger expression over instance names, e.g. 'Doors.DoorFL == 1' (repeatable: "
                               "any of them opens a window)",
                               "EXPR")
        ->required();
    cut->add_flag("--edge", options_.edge, "Triggers fire when they become true instead of while true");
    cut->add_option("--pre", pre_, "Recording time kept before a firing, e.g. 500ms, 5s, 2min")
        ->required()
        ->type_name("DURATION")
        ->check(CLI::Validator(Duration::check, ""));
    cut->add_option("--post", post_, "Recording time written after a firing, e.g. 2s")
        ->required()
        ->type_name("DURATION")
        ->check(CLI::Validator(Duration::check, ""));
    cut->add_option("recordings", options_.recordings, "Recordings of any readable format; - for standard input")
        ->required()
        ->type_name("RECORDING");
    cut->add_option("-o,--output", directory_, "Directory of the windows and windows.csv (created when missing)")
        ->required()
        ->type_name("DIR");
    cut->add_option("--as", as_, "Format of the windows: log (candump), asc, blf or pcapng (default: as read)")
        ->check(CLI::IsMember({"log", "asc", "blf", "pcapng"}));
    CommandOptions::repeatable(*cut, "--channel", options_.channelMaps,
                               "Channel of a candump interface or of a capture file, as for decode, e.g. can0=1 "
                               "(repeatable); candump windows name channel N as its interface",
                               "NAME=N");
    return *cut;
}

bool CutCommand::outputEnding(std::string& ending, std::string& error) const
{
    if (!as_.empty()) {
        ending = "." + as_;
        return true;
    }
    std::set<std::string> endings;
    for (const std::string& path : options_.recordings) {
        const std::string format = RecordingFiles::formatOf(path);
        const auto found = endingOfFormat.find(format);
        if (found == endingOfFormat.end()) {
            error = path + ": no recording of its kind (" + format + ") is written; choose one with --as";
            return false;
        }
        endings.insert(found->second);
    }
    ending = endings.size() == 1 ? *endings.begin() : ".pcapng";
    return true;
}

int CutCommand::run()
{
    uint64_t pre = 0, post = 0;
    Duration::parse(pre_, pre);
    Duration::parse(post_, post);
    DecodeOptions options = options_;
    options.rows = false;
    Decoder decoder(options);
    std::vector<std::string> warnings;
    std::string error, ending;
    const bool loaded = decoder.load(definitionFiles_, warnings, error);
    ToolMessages::warnings(warnings);
    if (!loaded || !outputEnding(ending, error)) {
        ToolMessages::error(error);
        return 2;
    }
    WindowFiles files(directory_, ending, [&decoder](uint8_t channel) { return decoder.candumpInterface(channel); });
    if (!files.create(error)) {
        ToolMessages::error(error);
        return 2;
    }
    TriggerWindows windows(pre, post, files);
    const auto started = std::chrono::steady_clock::now();
    while (decoder.decodeNext()) {
        const std::vector<size_t>& fired = decoder.firedTriggers();
        windows.add(decoder.message(), fired.empty() ? nullptr : &decoder.triggerExpression(fired.front()));
    }
    windows.finish();
    const bool written = files.finish(error);
    if (!written)
        ToolMessages::error(error);
    if (files.skipped() > 0)
        ToolMessages::warnings({"left out " + std::to_string(files.skipped()) + " messages that " + ending +
                                " files cannot hold"});
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    char text[256];
    std::snprintf(text, sizeof text,
                  "rksignal: %llu frames read, %llu triggers fired, %zu windows; %.3f s, %.0f frames/s\n",
                  (unsigned long long)decoder.counts().frames, (unsigned long long)decoder.counts().triggersFired,
                  windows.windows(), seconds, seconds > 0 ? double(decoder.counts().frames) / seconds : 0.0);
    std::cerr << text;
    return decoder.report().failed() || !written ? 1 : 0;
}

} // namespace rksignal
