#include "cli/EventsCommand.h"

#include "cli/ToolMessages.h"
#include "event/EventParser.h"

#include <iomanip>
#include <iostream>
#include <iterator>

namespace rksignal {

namespace {

const char* const footer = R"(
Examples:
  rksignal events 'CAN.signal3 > 5 && DI.010 == 1 || GPS.Speed > 80'
  echo 'AI.3 + AI.3 > Logger.Timer' | rksignal events -

Prints the tables of the library's event description parser, under the
names a client reads them by: every name found (allSignals), the
remote-control keys, digital and analog inputs (number=name as written),
logger and GPS names, then the count of occurrences per source.)";

constexpr int nameWidth = 15;

void label(std::ostream& out, const char* name)
{
    out << std::left << std::setw(nameWidth) << name;
}

// One table on one line, its entries separated by blanks; "-" when empty.
template <class Table, class Print>
void table(std::ostream& out, const char* name, const Table& entries, Print print)
{
    label(out, name);
    if (entries.empty())
        out << '-';
    const char* separator = "";
    for (const auto& entry : entries) {
        out << separator;
        print(entry);
        separator = " ";
    }
    out << '\n';
}

void count(std::ostream& out, const char* name, uint16_t value)
{
    label(out, name);
    out << value << '\n';
}

} // namespace

CLI::App& EventsCommand::add(CLI::App& app)
{
    CLI::App* events = app.add_subcommand("events", "Show the signal names an event description mentions");
    events->footer(footer);
    events->add_option("text", text_,
                       "The event description, or - to read it from standard input, e.g. 'GPS.Speed > 80 && DI.3 == 1'")
        ->required()
        ->type_name("TEXT|-");
    return *events;
}

int EventsCommand::run()
{
    std::string description = text_;
    if (text_ == "-") {
        description.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
        if (std::cin.bad()) {
            ToolMessages::error("cannot read standard input");
            return 1;
        }
    }
    const EventParser parser(description);
    const eventFlexer& found = parser.scanner;
    std::ostream& out = std::cout;
    const auto name = [&](const std::string& text) { out << text; };
    // Inputs show the number they are filed under and the name as written:
    // "8=DI.010".
    const auto input = [&](const std::pair<const int, std::string>& entry) {
        out << entry.first << '=' << entry.second;
    };
    table(out, "allSignals", found.allSignals, name);
    table(out, "rcKeys", found.rcKeys, name);
    table(out, "digitalInputs", found.digitalInputs, input);
    table(out, "analogInputs", found.analogInputs, input);
    table(out, "loggerSignals", found.loggerSignals, name);
    table(out, "gpsSignals", found.gpsSignals, name);
    count(out, "canCount", found.canCount);
    count(out, "linCount", found.linCount);
    count(out, "flexRayCount", found.flexRayCount);
    count(out, "rcCount", found.rcCount);
    count(out, "digitalCount", found.digitalCount);
    count(out, "analogCount", found.analogCount);
    count(out, "loggerCount", found.loggerCount);
    count(out, "timerCount", found.timerCount);
    count(out, "gpsCount", found.gpsCount);
    count(out, "miiCount", found.miiCount);
    out.flush();
    return 0;
}

} // namespace rksignal
