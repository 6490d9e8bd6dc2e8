#include "cli/DecodeCommand.h"

#include "cli/CommandOptions.h"
#include "cli/ToolMessages.h"
#include "decode/DecodeStats.h"
#include "decode/Decoder.h"
#include "output/OutputFormats.h"
#include "output/ProgressBar.h"
#include "output/StatsReport.h"

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>

namespace rksignal {

namespace {

const char* const footer = R"(
Examples:
  rksignal decode --defs examples/vehicle.dbc examples/drive.log
  rksignal decode --defs vehicle.dbc --format csv --signals 'Doors.*' drive.log > doors.csv
  rksignal decode --defs vehicle.dbc --trigger 'VehicleDynamics.VehicleSpeed > 50' --edge drive.log
  candump -L can0 | rksignal decode --defs vehicle.dbc --channel can0=1 -
  rksignal decode --defs examples/definitions.json --defs examples/ethernet.json \
      examples/drive.pcap examples/drive.nmea examples/drive.trace

Definitions: a .dbc file holds CAN frames; its signals become CAN signals named
"Message.Signal" on channel 1, or on channel N when written FILE.dbc@N. A .json
file holds definitions of every kind (see docs/definitions.md).

Recordings, recognised by content or name, several merged in time order:
  pcap/pcapng captures of Ethernet, SocketCAN (CAN, CAN FD), FlexRay and LIN;
    channel 1, or N with --channel FILE=N; pcapng interface I on the file's
    channel + I, or N with --channel FILE#I=N. SOME/IP and PDUs are framed as
    the protocols say (--logger-framing: as the logger's library does)
  FILE.nmea  NMEA log, one sentence a line, optionally "(sec.usec) " before it
  FILE.trace trace lines of LIN, FlexRay, GPIO, analog, key and system
    messages (docs/trace-lines.md)
  BLF (CAN, CAN FD, LIN, Ethernet, FlexRay), ASC and TRC (CAN, CAN FD) logs;
    their channel c, or c + N - 1 with --channel FILE=N
  any of them gzip, zstd or xz compressed (docs/recordings.md)
  anything else: candump log ("candump -l": "(sec.usec) iface ID#DATA", CAN FD
    as "ID##FLAGSDATA"); - reads standard input
Remote, error and null frames are skipped; bad lines and packets are counted
and the first 10 reported.

Rows: time, instance, physical value, unit and value description of every
signal whose value changed (with --all: of every write); TRIGGER rows when a
trigger fires, at the latest time of its signals; TIMEOUT rows with --timeout.
A summary goes to standard error.

Quality report, with --stats (a table on standard error, before the summary)
or --stats=FILE (JSON into FILE): per frame identifier (bus, channel,
identifier) the frames, their mean rate and largest gap, frames too short for
their signals, multiplexer values no branch is defined for, failed J1939
transfers, and identifiers no definition names ("unknown"); per signal the
writes, changes, minimum, maximum and time of the last write; and the
signals never written.
  rksignal decode --defs vehicle.dbc --format none --stats drive.log
  rksignal decode --defs vehicle.dbc --stats=quality.json drive.log > rows.csv

Exit status: 0 done, 1 a recording could not be read, 2 bad options,
definitions or expressions.)";

const char* const liveFooter = R"(
Live replay: with --shm every signal keeps its value in a shared-memory
segment keyed by its instance name (key file /tmp/INSTANCE), where another
process, e.g. 'rksignal watch' on the same definitions, follows it:
  rksignal decode --defs vehicle.dbc --shm --realtime --format none drive.log &
  rksignal watch --defs vehicle.dbc --signals 'VehicleDynamics.*'
decode removes its segments when it ends, as a writer does; --keep leaves
them with the last values (a later 'decode --shm' of the same definitions
takes them over and removes them at its end).)";

} // namespace

CLI::App& DecodeCommand::add(CLI::App& app)
{
    CLI::App* decode = app.add_subcommand("decode", "Decode recordings into signal values and trigger events");
    decode->footer(footer);
    CommandOptions::repeatable(*decode, "--defs", definitionFiles_,
                               "Definition file: FILE.dbc[@CHANNEL] or FILE.json (repeatable)", "FILE")
        ->required();
    decode->add_option("recordings", options_.recordings,
                       "Recordings: captures, BLF, ASC, TRC, .nmea, .trace or candump logs, compressed or not; - for standard input")
        ->required()
        ->type_name("RECORDING");
    CommandOptions::repeatable(*decode, "--channel", options_.channelMaps,
                               "Channel of a candump interface, e.g. can0=1 (default: order of first appearance, "
                               "from 1), of a capture file, e.g. front.pcapng=2 (default 1), or of interface N of "
                               "a pcapng file, e.g. front.pcapng#1=5 (default: the file's channel + N); repeatable",
                               "NAME=N");
    decode->add_option("--format", format_, "Output format (default: table on a terminal, csv otherwise)")
        ->check(CLI::IsMember(OutputFormats::names()));
    decode->add_flag("--logger-framing", options_.loggerFraming,
                     "Walk SOME/IP and PDU containers as the logger's library does by default (SOME/IP length "
                     "from the end of the 16-byte header, no container ending at the datagram's end) instead of "
                     "by the protocols' framing");
    decode->add_flag("--all", options_.allWrites, "A row for every write, not only for changed values");
    CommandOptions::repeatable(*decode, "--signals", options_.signalPatterns,
                               "Only rows of instances matching the glob, e.g. 'Engine*', or of one J1939 "
                               "sender, e.g. 'EEC1.*@0' (repeatable)",
                               "PATTERN");
    CommandOptions::repeatable(*decode, "--trigger", options_.triggers,
                               "Trigger expression over instance names, e.g. 'Doors.DoorFL == 1 && "
                               "VehicleDynamics.VehicleSpeed > 5' (repeatable)",
                               "EXPR");
    decode->add_flag("--edge", options_.edge, "Triggers fire on a rising edge instead of while true");
    decode->add_flag("--zero-fill", options_.zeroFillShortFrames,
                     "Decode signals whose bits a short CAN or LIN frame did not bring, with zeros for them "
                     "(default: no value, counted as short frames)");
    // A flag, so that "--stats drive.log" leaves the recording alone; a bare
    // --stats gives the flag's own value, "true".
    decode->add_flag("--stats", statsFile_,
                     "After decoding, a quality report per identifier and signal: a table on standard error, "
                     "or with --stats=FILE JSON into FILE");
    decode->add_option("--timeout", options_.timeoutMs,
                       "Report signals without a new value for MS milliseconds of recording time")
        ->type_name("MS")
        ->check(CLI::PositiveNumber);
    addLiveOptions(*decode);
    return *decode;
}

void DecodeCommand::addLiveOptions(CLI::App& decode)
{
    decode.footer(decode.get_footer() + liveFooter);
    CLI::Option* shm = decode.add_flag("--shm", options_.sharedMemory,
                                       "Keep the signal values in shared memory, keyed by instance name, for other "
                                       "processes, e.g. --shm --realtime");
    decode.add_flag("--keep", options_.keepSegments,
                    "With --shm: leave the segments and their last values when done, e.g. --shm --keep")
        ->needs(shm);
    decode.add_flag("--realtime", realtime_,
                    "Decode at the pace of the recording, measured from its first message, e.g. --realtime");
    decode.add_option("--speed", speed_,
                      "Replay X times as fast as recorded (implies --realtime), e.g. --speed 10 or --speed 0.5")
        ->type_name("X")
        ->check(
            [](const std::string& text) {
                const double speed = std::strtod(text.c_str(), nullptr);
                return speed > 0 && std::isfinite(speed) ? std::string()
                                                         : "expected a number greater than 0, e.g. 10 or 0.5";
            },
            "POSITIVE");
}

double DecodeCommand::replaySpeed() const
{
    if (speed_ > 0)
        return speed_;
    return realtime_ ? 1.0 : 0.0;
}

std::string DecodeCommand::progressLabel() const
{
    return options_.recordings.size() == 1 ? options_.recordings.front()
                                           : std::to_string(options_.recordings.size()) + " recordings";
}

int DecodeCommand::run()
{
    const std::string formatName = format_.empty() ? (isatty(STDOUT_FILENO) ? "table" : "csv") : format_;
    const OutputFormat* format = OutputFormats::find(formatName);
    OutputBuffer out(STDOUT_FILENO, 1 << 18);
    DecodeOptions options = options_;
    options.speed = replaySpeed();
    options.beforeWaiting = [&out] { out.flush(); };
    options.rows = format && format->create;
    options.stats = !statsFile_.empty();
    Decoder decoder(options);

    std::vector<std::string> warnings;
    std::string error;
    const bool loaded = decoder.load(definitionFiles_, warnings, error);
    ToolMessages::warnings(warnings);
    if (!loaded) {
        ToolMessages::error(error);
        return 2;
    }
    if (!format) {
        ToolMessages::error("--format " + formatName + ": expected " + OutputFormats::namesText());
        return 2;
    }
    std::ofstream statsJson;
    const bool statsTable = statsFile_ == "true";
    if (options.stats && !statsTable && (statsJson.open(statsFile_), !statsJson)) {
        ToolMessages::error("--stats=" + statsFile_ + ": cannot be written");
        return 2;
    }
    std::unique_ptr<RowWriter> writer = options.rows ? format->create(out, decoder.longestShownInstance()) : nullptr;
    decoder.open();
    if (writer) {
        writer->sources = decoder.hasSources();
        writer->begin();
    }
    const auto started = std::chrono::steady_clock::now();
    decodeAll(decoder, writer.get());
    if (writer && !writer->finish())
        ToolMessages::error("writing the output failed");
    if (const DecodeStats* stats = decoder.stats()) {
        if (statsTable)
            StatsReport::writeTable(std::cerr, *stats);
        else
            StatsReport::writeJson(statsJson, *stats);
    }
    summary(decoder, std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count());
    return decoder.report().failed() ? 1 : 0;
}

void DecodeCommand::decodeAll(Decoder& decoder, RowWriter* writer) const
{
    ProgressBar progress(progressLabel(), decoder.totalBytes());
    while (decoder.decodeNext()) {
        progress.update([&decoder] { return decoder.bytesConsumed(); });
        for (const DecodedRow& row : decoder.rows())
            writer->write(row);
    }
}

void DecodeCommand::summary(const Decoder& decoder, double seconds)
{
    const DecodeCounts& counts = decoder.counts();
    const RecordingReport& report = decoder.report();
    char packets[64] = "";
    if (report.badPackets())
        std::snprintf(packets, sizeof packets, ", %llu bad packets", (unsigned long long)report.badPackets());
    char text[512];
    std::snprintf(text, sizeof text,
                  "rksignal: %llu frames read, %llu with signals, %llu signal writes, %llu triggers fired, "
                  "%llu bad lines%s; %.3f s, %.0f frames/s\n",
                  (unsigned long long)counts.frames, (unsigned long long)counts.framesWithSignals,
                  (unsigned long long)counts.writes, (unsigned long long)counts.triggersFired,
                  (unsigned long long)report.badLines(), packets, seconds,
                  seconds > 0 ? double(counts.frames) / seconds : 0.0);
    std::cerr << text;
    if (counts.shortFrames || counts.transportErrors) {
        std::snprintf(text, sizeof text,
                      "rksignal: %llu short frames (signals beyond the bytes received got no value), "
                      "%llu J1939 transfers incomplete\n",
                      (unsigned long long)counts.shortFrames, (unsigned long long)counts.transportErrors);
        std::cerr << text;
    }
}

} // namespace rksignal
