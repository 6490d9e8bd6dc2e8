// rksignal: the command-line face of the signal library.
#include "tools/DecodeCommand.h"

#include <CLI/CLI.hpp>

#include <iostream>

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
    decode->callback([&options] { throw CLI::RuntimeError(DecodeCommand::run(options)); });
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app{"rksignal: decode vehicle bus recordings into signal values with librksignal"};
    app.footer("Run 'rksignal decode --help' for the decode command and its examples.");
    app.require_subcommand(1);
    DecodeOptions decode;
    addDecode(app, decode);
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
