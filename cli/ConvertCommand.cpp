#include "cli/ConvertCommand.h"

#include "cli/CommandOptions.h"
#include "cli/ToolMessages.h"
#include "recordings/RecordingFiles.h"
#include "recordings/RecordingWriters.h"

#include <map>

namespace rksignal {

namespace {

const char* const footer = R"(Examples:
  rksignal convert drive.log -o drive.blf
  rksignal convert front.blf rear.asc.gz -o both.log --channel can0=1 --channel can1=2
  rksignal convert drive.trc -o drive.pcapng

The output's format is the end of its name: .log (candump log: CAN and CAN
FD), .asc (CAN and CAN FD), .blf (CAN, CAN FD, LIN, Ethernet and FlexRay in
zlib-compressed containers) or .pcapng (every kind, one interface per kind and
channel). Messages the format cannot hold are skipped and counted.
--channel NAME=N numbers the channels as for decode; for a candump output,
channel N is written as the candump interface read as N, or NAME (otherwise
can<N-1>).)";

} // namespace

CLI::App& ConvertCommand::add(CLI::App& app)
{
    CLI::App* convert = app.add_subcommand("convert", "Convert recordings into one candump log, ASC, BLF or pcapng");
    convert->add_option("recordings", recordings_, "Recordings of any readable format; - for standard input")
        ->required()
        ->type_name("RECORDING ...");
    convert->add_option("-o,--output", output_, std::string("Output: ") + RecordingWriters::endingsText())
        ->required()
        ->type_name("FILE");
    CommandOptions::repeatable(*convert, "--channel", channelMaps_,
                               "Channel of a candump interface or of a file, e.g. can0=1, front.blf=3; repeatable",
                               "NAME=N");
    convert->footer(footer);
    return *convert;
}

int ConvertCommand::run()
{
    RecordingReport report;
    RecordingFiles files(report);
    for (const std::string& map : channelMaps_) {
        std::string name;
        uint8_t channel = 0;
        if (!RecordingFiles::parseChannelMap(map, name, channel)) {
            ToolMessages::error("--channel " + map + ": expected NAME=N with N from 0 to 255");
            return 2;
        }
        files.mapChannel(name, channel, recordings_);
    }
    std::string error;
    std::unique_ptr<RecordingWriter> writer =
        RecordingWriters::create(output_, [&files](uint8_t channel) { return files.candumpInterface(channel); }, error);
    if (!writer) {
        ToolMessages::error(output_ + ": " + error);
        return 2;
    }
    std::unique_ptr<RecordingReader> reader = files.openAll(recordings_);
    uint64_t skipped = 0;
    while (reader && reader->next())
        if (!writer->write(reader->message()))
            ++skipped;
    if (!writer->finish(error)) {
        report.error(output_, error);
        return 1;
    }
    if (skipped > 0)
        report.warning(output_, "skipped " + std::to_string(skipped) + " messages the format cannot hold");
    return report.failed() ? 1 : 0;
}

} // namespace rksignal
