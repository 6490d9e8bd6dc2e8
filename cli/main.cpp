// rksignal: the command-line face of the signal library.
#include "cli/CheckCommand.h"
#include "cli/DecodeCommand.h"
#include "cli/EventsCommand.h"
#include "cli/WatchCommand.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdlib>
#include <iostream>

using namespace rksignal;

namespace {

const char* const decodeFooter = R"(
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
  pcap/pcapng captures (libpcap) of Ethernet, SocketCAN (CAN, CAN FD), FlexRay
    and LIN; channel 1, or N with --channel FILE=N
  FILE.nmea  NMEA log, one sentence a line, optionally "(sec.usec) " before it
  FILE.trace trace lines of LIN, FlexRay, GPIO, analog, key and system
    messages (docs/trace-lines.md)
  anything else: candump log ("candump -l": "(sec.usec) iface ID#DATA", CAN FD
    as "ID##FLAGSDATA"); - reads standard input
Remote, error and null frames are skipped; bad lines and packets are counted
and the first 10 reported.

Rows: time, instance, physical value, unit and value description of every
signal whose value changed (with --all: of every write); TRIGGER rows when a
trigger fires, at the latest time of its signals; TIMEOUT rows with --timeout.
A summary goes to standard error.

Exit status: 0 done, 1 a recording could not be read, 2 bad options,
definitions or expressions.)";

// A repeatable option taking one value per occurrence: --defs A --defs B.
CLI::Option* addRepeatable(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                           const std::string& help, const std::string& typeName)
{
    return command.add_option(name, values, help)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->type_name(typeName);
}

void addDefinitionFiles(CLI::App& command, std::vector<std::string>& files)
{
    addRepeatable(command, "--defs", files,
                  "Definition file: FILE.dbc[@CHANNEL] or FILE.json (repeatable), e.g. --defs vehicle.dbc", "FILE")
        ->required();
}

const char* const liveDecodeFooter = R"(
Live replay: with --shm every signal keeps its value in a shared-memory
segment keyed by its instance name (key file /tmp/INSTANCE), where another
process, e.g. 'rksignal watch' on the same definitions, follows it:
  rksignal decode --defs vehicle.dbc --shm --realtime --format none drive.log &
  rksignal watch --defs vehicle.dbc --signals 'VehicleDynamics.*'
decode removes its segments when it ends, as a writer does; --keep leaves
them with the last values (a later 'decode --shm' of the same definitions
takes them over and removes them at its end).)";

void addLiveDecodeOptions(CLI::App& decode, DecodeOptions& options)
{
    decode.footer(decode.get_footer() + liveDecodeFooter);
    CLI::Option* shm = decode.add_flag("--shm", options.sharedMemory,
                                       "Keep the signal values in shared memory, keyed by instance name, for other "
                                       "processes, e.g. --shm --realtime");
    decode.add_flag("--keep", options.keepSegments,
                    "With --shm: leave the segments and their last values when done, e.g. --shm --keep")
        ->needs(shm);
    decode.add_flag("--realtime", options.realtime,
                    "Decode at the pace of the recording, measured from its first message, e.g. --realtime");
    decode.add_option("--speed", options.speed,
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

void addDecode(CLI::App& app, DecodeOptions& options)
{
    CLI::App* decode = app.add_subcommand("decode", "Decode recordings into signal values and trigger events");
    decode->footer(decodeFooter);
    decode->add_option("--defs", options.definitionFiles, "Definition file: FILE.dbc[@CHANNEL] or FILE.json (repeatable)")
        ->required()
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->type_name("FILE");
    decode->add_option("recordings", options.recordings,
                       "Recordings: captures, .nmea, .trace or candump logs; - for standard input")
        ->required()
        ->type_name("RECORDING");
    decode->add_option("--channel", options.channelMaps,
                       "Channel of a candump interface, e.g. can0=1 (default: order of first appearance, from 1), "
                       "or of a capture file, e.g. front.pcapng=2 (default 1); repeatable")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->type_name("NAME=N");
    decode->add_option("--format", options.format, "Output format (default: table on a terminal, csv otherwise)")
        ->check(CLI::IsMember({"table", "csv", "jsonl", "none"}));
    decode->add_flag("--all", options.allWrites, "A row for every write, not only for changed values");
    decode->add_option("--signals", options.signalPatterns,
                       "Only rows of instances matching the glob, e.g. 'Engine*' (repeatable)")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->type_name("PATTERN");
    decode->add_option("--trigger", options.triggers,
                       "Trigger expression over instance names, e.g. 'Doors.DoorFL == 1 && "
                       "VehicleDynamics.VehicleSpeed > 5' (repeatable)")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->type_name("EXPR");
    decode->add_flag("--edge", options.edge, "Triggers fire on a rising edge instead of while true");
    decode->add_option("--timeout", options.timeoutMs,
                       "Report signals without a new value for MS milliseconds of recording time")
        ->type_name("MS")
        ->check(CLI::PositiveNumber);
    addLiveDecodeOptions(*decode, options);
    decode->callback([&options] { throw CLI::RuntimeError(DecodeCommand::run(options)); });
}

const char* const watchFooter = R"(
Examples:
  rksignal watch --defs examples/vehicle.dbc --signals 'VehicleDynamics.*'
  rksignal watch --defs vehicle.dbc --once --signals 'Doors.*' > doors.txt

Shows the values that other processes (a logger, 'rksignal decode --shm')
keep in shared memory for the signals of the definition files: instance,
physical value, unit, value description, state and age. On a terminal the
view is refreshed in place until Ctrl-C; with --once, or when the output is
not a terminal, frames are plain rows.

State: valid; "no value" (nothing written yet, or cleared); "locked" (the
slot's lock stayed taken through a bounded wait of at most 100 ms: its
writer probably died holding it);
"ended" (the writer removed the segment when it finished; the last value is
shown until a new writer starts, which the watcher then follows).
Age: how far the value's time stamp lies behind the newest one shown (time
stamps are the recording's, not the wall clock).

The watcher never removes a writer's segments. Segments of signals that no
writer has created yet are created by the watcher, so that a writer starting
later finds them; it removes those that no other process used when it ends.

Exit status: 0 done, 1 the output could not be written, 2 bad options or
definitions, or nothing to watch.)";

void addWatch(CLI::App& app, WatchOptions& options)
{
    CLI::App* watch = app.add_subcommand("watch", "Show signal values that other processes keep in shared memory");
    watch->footer(watchFooter);
    addDefinitionFiles(*watch, options.definitionFiles);
    watch->add_option("--interval", options.intervalMs, "Milliseconds between refreshes (default 500), e.g. --interval 100")
        ->type_name("MS")
        ->check(CLI::Range(1ul, 3600000ul));
    watch->add_flag("--once", options.once, "Show the values once, as plain rows, and end, e.g. --once > values.txt");
    addRepeatable(*watch, "--signals", options.signalPatterns,
                  "Only instances matching the glob, e.g. --signals 'Engine*' (repeatable)", "PATTERN");
    watch->callback([&options] { throw CLI::RuntimeError(WatchCommand::run(options)); });
}

const char* const checkFooter = R"(
Examples:
  rksignal check --defs examples/vehicle.dbc 'VehicleDynamics.VehicleSpeed > 50'
  rksignal check --defs vehicle.dbc 'Doors.DoorFL == 1 && Doors.Locked == 0' 'Speed >'

For each expression: "ok" and the signals it reads, or "error" and the
parser's error lines (a syntax error, a signal the definitions do not hold).

Exit status: 0 every expression compiles, 1 one or more do not, 2 bad
options or definitions.)";

void addCheck(CLI::App& app, CheckOptions& options)
{
    CLI::App* check = app.add_subcommand("check", "Compile trigger expressions and show the signals they read");
    check->footer(checkFooter);
    addDefinitionFiles(*check, options.definitionFiles);
    check->add_option("expressions", options.expressions,
                      "Expressions over instance names, e.g. 'Engine.Speed > 3000 || Engine.Temp >= 110'")
        ->required()
        ->type_name("EXPR");
    check->callback([&options] { throw CLI::RuntimeError(CheckCommand::run(options)); });
}

const char* const eventsFooter = R"(
Examples:
  rksignal events 'CAN.signal3 > 5 && DI.010 == 1 || GPS.Speed > 80'
  echo 'AI.3 + AI.3 > Logger.Timer' | rksignal events -

Prints the tables of the library's event description parser, under the
names a client reads them by: every name found (allSignals), the
remote-control keys, digital and analog inputs (number=name as written),
logger and GPS names, then the count of occurrences per source.)";

void addEvents(CLI::App& app, std::string& text)
{
    CLI::App* events = app.add_subcommand("events", "Show the signal names an event description mentions");
    events->footer(eventsFooter);
    events->add_option("text", text, "The event description, or - to read it from standard input, e.g. 'GPS.Speed > 80 && DI.3 == 1'")
        ->required()
        ->type_name("TEXT|-");
    events->callback([&text] { throw CLI::RuntimeError(EventsCommand::run(text)); });
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app{"rksignal: decode vehicle bus recordings into signal values with librksignal, and watch them live"};
    app.footer("Run 'rksignal COMMAND --help' for a command's options and examples.");
    app.require_subcommand(1);
    DecodeOptions decode;
    addDecode(app, decode);
    WatchOptions watch;
    addWatch(app, watch);
    CheckOptions check;
    addCheck(app, check);
    std::string eventText;
    addEvents(app, eventText);
    try {
        app.parse(argc, argv);
    } catch (const CLI::RuntimeError& done) {
        return done.get_exit_code();
    } catch (const CLI::ParseError& error) {
        const int status = app.exit(error);
        return status == 0 ? 0 : 2;
    }
    return 0;
}
